// The state of the bus as the page holds it: its things, who belongs to whom, and the findings. A thing has a kind and a
// key, which are its address, and its place among those of its kind.

import { shown } from './names.js';

const data = JSON.parse(document.getElementById('data').textContent);

// What a saved state holds besides its records.
export const { state: busState } = data;

// A column holds a value for each row; or numbers, and the words that most of them stand for; or values for some rows
// only. Returns the function that reads the value of a row.
function reader(column) {
  if (column.words) {
    return row => column.words[column.values[row]] || String(column.values[row]);
  }
  if (column.rows) {
    const valueByRow = new Map(column.rows.map((row, i) => [row, column.values[i]]));
    return row => valueByRow.get(row) || null;
  }
  return row => column[row];
}

const readersOf = table => Object.entries(table).map(([name, column]) => [name, reader(column)]);

// The rows of {"id": [1, 2], "name": ["a", "b"]} are {id: 1, name: "a"} and so on. All tables begin with a plain column.
function recordsOf(table) {
  const readers = readersOf(table);
  return Object.values(table)[0].map((_, row) => {
    const record = {};
    readers.forEach(([name, read]) => { record[name] = read(row); });
    return record;
  });
}

// Adds a value to the list of a key.
export function addTo(map, key, value) {
  if (!map.has(key)) {
    map.set(key, []);
  }
  map.get(key).push(value);
}

// Receiver sets are runs: the first and the last id of each, one after the other. Most messages of a sender have the
// same set, which is one object.
class ReceiverSet {
  constructor(runs) {
    this.runs = [];
    for (let i = 0; i < runs.length; i += 2) {
      this.runs.push([runs[i], runs[i + 1]]);
    }
    this.text = this.runs.map(([first, last]) => first === last ? first : `${first}-${last}`).join(' ');
  }

  has(id) {
    return this.runs.some(([first, last]) => first <= id && id <= last);
  }

  // Decoded when first asked for.
  get ids() {
    if (!this.decoded) {
      this.decoded = [].concat(...this.runs.map(([first, last]) => Array.from({ length: last - first + 1 }, (_, i) => first + i)));
    }
    return this.decoded;
  }
}

const sets = data.receiver_sets.map(runs => new ReceiverSet(runs));

class Process {
  constructor(place, { pid, application, started_ms_after_boot: started, living, addressed, oldest }) {
    Object.assign(this, { kind: 'process', place, key: String(pid), pid, started, living, addressed, oldest });
    Object.assign(this, { communicators: [], interfaces: [] });
    this.application = application === null ? null : shown(application);
    this.label = this.application || `process ${pid}`;
  }

  registered(type) {
    return this.interfaces.filter(face => face.state === 'registered' && face.type === type).length;
  }

  get isDead() {
    return this.living === 'no';
  }
}

export const processes = [];
const processByPid = new Map();
const processByCommunicator = new Map();
for (const record of recordsOf(data.communicators)) {
  if (!processByPid.has(record.pid)) {
    processByPid.set(record.pid, processes[processes.push(new Process(processes.length, record)) - 1]);
  }
  const process = processByPid.get(record.pid);
  process.communicators.push({ id: record.id, state: record.state });
  if (!processByCommunicator.has(record.id)) {
    processByCommunicator.set(record.id, process);
  }
}

const interfacesById = new Map();
const providersByUser = new Map();
const absentById = new Map();

class Interface {
  constructor(place, record) {
    const { id, type, version, state, communicator, functions, functions_cut: functionsCut, addressed, oldest } = record;
    Object.assign(this, { kind: 'interface', place, id, type, version, state, addressed, oldest });
    // Ids are unique unless the bus is damaged: the second interface of an id gets a key of its own.
    const same = withId(id).length;
    this.key = same === 0 ? String(id) : `${id}.${same + 1}`;
    this.name = shown(record.name);
    this.role = shown(record.role);
    this.domain = shown(record.domain);
    this.storage = record.function_storage.join('/');
    this.functions = functions && functions.map(shown);
    this.functionsAreCut = functionsCut === 1;
    this.receivers = sets[record.receivers];
    this.communicator = communicator === data.no_communicator ? null : communicator;
    this.process = processByCommunicator.get(communicator) || null;
  }

  get isRequired() {
    return this.state === 'preregistered';
  }

  get look() {
    return this.isRequired ? 'required' : this.type;
  }

  // The interfaces whose receiver set has this one.
  get providers() {
    return providersByUser.get(this.id) || [];
  }

  // The interfaces that its receiver set has.
  get users() {
    return [].concat(...this.receivers.ids.map(id => interfacesById.get(id) || [absentInterface(id)]));
  }
}

// Stands in for the interface of an id that none has.
function absentInterface(id) {
  if (!absentById.has(id)) {
    absentById.set(id, { kind: 'absent', id, process: null });
  }
  return absentById.get(id);
}

export function withId(id) {
  return interfacesById.get(id) || [];
}

export const interfaces = recordsOf(data.interfaces).map((record, place) => {
  const face = new Interface(place, record);
  addTo(interfacesById, face.id, face);
  face.receivers.ids.forEach(id => addTo(providersByUser, id, face));
  if (face.process) {
    face.process.interfaces.push(face);
  }
  return face;
});

export const linkCount = interfaces.reduce((count, face) => count + face.receivers.ids.length, 0);

class MemoryManager {
  constructor(place, record) {
    Object.assign(this, { kind: 'memory', place, key: String(place) }, record);
    this.free = Math.max(0, Number(this.total_blocks) - Number(this.used_blocks));
    this.share = Number(this.total_blocks) > 0 ? Number(this.used_blocks) / Number(this.total_blocks) : null;
  }
}

export const memory = recordsOf(data.memory_managers).map((record, place) => new MemoryManager(place, record));

// In their order; the table has no free ones.
export const slotStates = ['free', ...Object.values(data.slots.state.words)];
const slotColumns = Object.fromEntries(readersOf(data.slots));

// There may be very many: a slot reads its members out of the table.
class Slot {
  constructor(place) {
    this.place = place;
  }

  get kind() {
    return 'slot';
  }

  get key() {
    return String(this.index);
  }

  get index() {
    return slotColumns.index(this.place);
  }

  get state() {
    return slotColumns.state(this.place);
  }

  get senderId() {
    return slotColumns.sender(this.place);
  }

  get sender() {
    return withId(this.senderId)[0] || null;
  }

  get counter() {
    return slotColumns.writer_counter(this.place);
  }

  get size() {
    return slotColumns.user_data_size(this.place);
  }

  get receivers() {
    return sets[slotColumns.receivers(this.place)];
  }

  get chain() {
    return slotColumns.chain(this.place);
  }

  get external() {
    return slotColumns.external(this.place);
  }

  // What broke the chain; empty when nothing did.
  get fault() {
    return this.chain && this.chain.end ? `${this.chain.end} at ${this.chain.next_index}` : '';
  }

  // The slot of the message that a data entry belongs to, if any.
  get message() {
    return this.state === 'data' ? messageWith(this.index) : null;
  }
}

export const { size: storageSize, readable: readableSlots } = data.message_storage;
export const slots = data.slots.index.map((_, place) => new Slot(place));
const slotByIndex = new Map(slots.map(slot => [slot.index, slot]));

export function slotAt(index) {
  return slotByIndex.get(index) || null;
}

let messageByEntry = null; // by the indexes of its data entries; made when first asked for

function messageWith(index) {
  if (!messageByEntry) {
    messageByEntry = new Map();
    slots.forEach(slot => slot.chain && slot.chain.entries.forEach(entry => messageByEntry.set(entry, slot)));
  }
  return messageByEntry.get(index) || null;
}

// By state.
export const slotTotals = Object.fromEntries(slotStates.map(state => [state, 0]));
slots.forEach(slot => ++slotTotals[slot.state]);
slotTotals.free = storageSize - slots.length;

// The thing with an address such as "interface:12", or null. A process stands for its communicators.
export function thingAt(address) {
  const [kind, key] = address.split(':');
  switch (kind) {
  case 'interface':
    return interfaces.find(face => face.key === key) || null;
  case 'communicator':
    return processByCommunicator.get(Number(key)) || null;
  case 'process':
    return processByPid.get(Number(key)) || null;
  case 'memory':
    return memory[Number(key)] || null;
  case 'slot':
    return slotAt(Number(key));
  default:
    return null;
  }
}

export const findings = data.findings.map(({ severity, code, about: { kind, id, name }, evidence, look_at: advice }) => ({
  severity, code, subject: thingAt(`${kind}:${id}`),
  label: kind === 'bus' ? 'bus' : `${kind === 'memory' ? 'memory manager' : kind} ${id}`,
  name: shown(name || ''), evidence: shown(evidence), advice
}));
