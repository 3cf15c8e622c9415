// What the page holds: the state of the bus, who belongs to whom, and what is wrong with it.

/* global Names */
/* exported Bus */
const Bus = (() => {
  const data = JSON.parse(document.getElementById('data').textContent);

  const SLOT_STATES = ['free', 'reserved', 'written', 'message', 'data'];
  const SEVERITIES = ['note', 'warning', 'error'];
  const SUBJECTS = ['bus', 'interface', 'communicator', 'process', 'memory', 'slot'];

  // Ids are unique unless the bus is damaged: the second of an id gets a key of its own.
  function uniqueKeys(ids) {
    const seen = new Map();
    return ids.map(id => {
      const count = (seen.get(id) || 0) + 1;
      seen.set(id, count);
      return count === 1 ? String(id) : `${id}.${count}`;
    });
  }

  function idsOf(runs) {
    const ids = [];
    for (let i = 0; i < runs.length; i += 2) {
      for (let id = runs[i]; id <= runs[i + 1]; ++id) {
        ids.push(id);
      }
    }
    return ids;
  }

  const textOfRuns = runs => {
    const texts = [];
    for (let i = 0; i < runs.length; i += 2) {
      texts.push(runs[i] === runs[i + 1] ? runs[i] : `${runs[i]}-${runs[i + 1]}`);
    }
    return texts.join(' ');
  };

  const sets = data.sets.map(runs => ({
    text: textOfRuns(runs),
    ids: null,
    has(id) {
      for (let i = 0; i < runs.length; i += 2) {
        if (runs[i] <= id && id <= runs[i + 1]) {
          return true;
        }
      }
      return false;
    }
  }));

  // The ids of a receiver set; decoded when they are first asked for.
  function idsOfSet(place) {
    const set = sets[place];
    set.ids = set.ids || idsOf(data.sets[place]);
    return set.ids;
  }

  const processes = [];
  const processByPid = new Map();
  const processByCommunicator = new Map();
  for (const [id, pid, state, application, started, living] of data.communicators) {
    let process = processByPid.get(pid);
    if (!process) {
      process = {
        kind: 'process', index: processes.length, key: String(pid), pid, living, started,
        application: application === null ? null : Names.shown(application),
        communicators: [], interfaces: [], provides: 0, uses: 0
      };
      process.label = process.application || `process ${pid}`;
      processes.push(process);
      processByPid.set(pid, process);
    }
    process.communicators.push({ id, state });
    if (!processByCommunicator.has(id)) {
      processByCommunicator.set(id, process);
    }
  }

  const NO_COMMUNICATOR = 4096;
  const interfaceKeys = uniqueKeys(data.interfaces.map(row => row[0]));
  const interfaces = data.interfaces.map((row, index) => {
    const [communicator, manager, range, set] = row[7];
    return {
      kind: 'interface', index, key: interfaceKeys[index], id: row[0],
      name: Names.shown(row[1]), role: Names.shown(row[2]), domain: Names.shown(row[3]),
      type: row[4], version: row[5], state: row[6],
      communicator: communicator === NO_COMMUNICATOR ? null : communicator,
      storage: `${manager}/${range}`, set,
      functions: row[8] && row[8].map(Names.shown),
      process: processByCommunicator.get(communicator) || null,
      required: row[6] === 'preregistered'
    };
  });

  const byId = new Map();
  const holdersById = new Map();
  const add = (map, key, value) => map.has(key) ? map.get(key).push(value) : map.set(key, [value]);
  let linkCount = 0;
  for (const face of interfaces) {
    add(byId, face.id, face);
    for (const receiver of idsOfSet(face.set)) {
      add(holdersById, receiver, face);
      ++linkCount;
    }
    if (face.process) {
      face.process.interfaces.push(face);
      face.process.provides += face.state === 'registered' && face.type === 'skeleton' ? 1 : 0;
      face.process.uses += face.state === 'registered' && face.type === 'stub' ? 1 : 0;
    }
  }

  const none = [];
  const withId = id => byId.get(id) || none;
  // Those whose receiver set names the interface.
  const providersOf = face => holdersById.get(face.id) || none;
  // Those that its receiver set names; an id that nobody has is a stand-in without a key.
  const usersOf = face => idsOfSet(face.set).reduce(
    (users, id) => users.concat(byId.get(id) || [{ kind: 'absent', id, process: null }]), []);

  const userCount = face => idsOfSet(face.set).length;

  const memory = data.memory.map(([blockSize, initial, additional, total, used], index) => ({
    kind: 'memory', index, key: String(index), blockSize, initial, additional, total, used,
    free: Math.max(0, Number(total) - Number(used)),
    share: Number(total) > 0 ? Number(used) / Number(total) : null
  }));

  const chainByPlace = new Map(data.chains.map(([place, end, next, ...entries]) => [place, { end, next, entries }]));
  const externalByPlace = new Map(data.externals.map(([place, manager, block]) => [place, { manager, block }]));
  const placeByIndex = new Map(data.slotIndex.map((index, place) => [index, place]));

  // The message whose chain has the slot with this index, by its place among the slots in use.
  let messageByEntry = null;
  function messageWith(index) {
    if (!messageByEntry) {
      messageByEntry = new Map();
      chainByPlace.forEach((chain, place) => chain.entries.forEach(entry => messageByEntry.set(entry, place)));
    }
    return messageByEntry.get(index);
  }

  const [size, readable, lastWritten, counter] = data.storage;
  const totals = SLOT_STATES.map(() => 0);
  data.slotState.forEach(state => ++totals[state]);
  totals[0] = size - data.slotState.length;

  const slots = {
    size, readable, lastWritten, counter, totals,
    count: data.slotIndex.length,
    index: data.slotIndex, state: data.slotState, sender: data.slotSender,
    writerCounter: data.slotCounter, userDataSize: data.slotSize, set: data.slotSet,
    stateWord: place => SLOT_STATES[data.slotState[place]],
    senderOf: place => withId(data.slotSender[place])[0] || null,
    receivers: place => sets[data.slotSet[place]],
    receiverIds: place => idsOfSet(data.slotSet[place]),
    chain: place => chainByPlace.get(place) || null,
    external: place => externalByPlace.get(place) || null,
    at: index => placeByIndex.get(index),
    messageWith
  };

  const slotThing = index => placeByIndex.has(index) ? { kind: 'slot', key: String(index), place: placeByIndex.get(index) } : null;

  // Where a finding leads: a process stands for its communicators. Null when that is not on the page.
  function subjectOf(kind, id) {
    switch (SUBJECTS[kind]) {
    case 'interface':
      return withId(id)[0] || null;
    case 'communicator':
      return processByCommunicator.get(id) || null;
    case 'process':
      return processByPid.get(id) || null;
    case 'memory':
      return memory[id] || null;
    case 'slot':
      return slotThing(id);
    default:
      return null;
    }
  }

  const findings = data.findings.map(([severity, code, kind, id, name, evidence, advice]) => ({
    severity: SEVERITIES[severity], code, subject: subjectOf(kind, id),
    label: SUBJECTS[kind] === 'bus' ? 'bus' : `${SUBJECTS[kind] === 'memory' ? 'memory manager' : SUBJECTS[kind]} ${id}`,
    name: Names.shown(name), evidence: Names.shown(evidence), advice: Names.shown(advice)
  }));

  // What an address such as "interface:12" names; null when it names nothing.
  function thing(address) {
    const [kind, key] = address.split(':');
    switch (kind) {
    case 'interface':
      return interfaces[interfaceKeys.indexOf(key)] || null;
    case 'process':
      return processByPid.get(Number(key)) || null;
    case 'memory':
      return memory[Number(key)] || null;
    case 'slot':
      return slotThing(Number(key));
    default:
      return null;
    }
  }

  const taken = new Date(data.taken);
  return {
    channel: Names.shown(data.channel), boot: Names.shown(data.boot), version: Names.shown(data.version),
    taken: Number.isNaN(taken.getTime()) ? null : taken,
    SLOT_STATES, interfaces, processes, memory, slots, findings, linkCount,
    withId, providersOf, usersOf, userCount, thing, slotThing
  };
})();
