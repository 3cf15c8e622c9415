// The four tables: their columns, and the texts of their cells. A row is a thing of the bus.

import { inItsView, link, ofThing } from './address.js';
import { interfaces, memory, processes, slots } from './bus.js';
import { badge, html, nameElement, numberText, svg } from './drawing.js';

// The place of each text among all of them, in natural order: Zone2 before Zone10.
function ranksOf(texts) {
  const { compare } = new Intl.Collator('en', { numeric: true });
  const ranks = new Map(Array.from(new Set(texts)).sort(compare).map((text, rank) => [text, rank]));
  return texts.map(text => text === '' ? -1 : ranks.get(text));
}

// `key` is its name in the address and the filter. Of `more`: cell(row), an element in place of the text; isBadge when it
// is one; width, the least in pixels; fits(row, wanted) for a filter of its own; isHidden: for the filter only;
// isRelated: of another table's row, so that a filter finds it there.
class Column {
  constructor(key, title, text, more) {
    Object.assign(this, { key, title, text, width: 0 }, more);
    this.cell = this.cell || this.text;
  }

  get look() {
    return null;
  }

  searched(row) {
    return this.text(row);
  }

  test(wanted) {
    return row => this.fits ? this.fits(row, wanted) : this.text(row).toLowerCase().includes(wanted);
  }

  sortKeys(rows) {
    return ranksOf(rows.map(this.text));
  }
}

// value(row) is a number, text where that would not be exact, or null.
class NumberColumn extends Column {
  constructor(key, title, value, more) {
    super(key, title, row => value(row) === null ? '' : numberText(value(row)), more);
    this.value = value;
  }

  get look() {
    return 'number';
  }

  searched(row) {
    return this.value(row);
  }

  test(wanted) {
    return row => wanted === '' || String(this.value(row)) === wanted;
  }

  sortKeys(rows) {
    return rows.map(row => this.value(row) === null ? -1 : Number(this.value(row)));
  }
}

// Numbers without separators.
class IdColumn extends NumberColumn {
  constructor(key, title, value, more) {
    super(key, title, value, { text: row => value(row) === null ? '' : String(value(row)), ...more });
  }
}

class NameColumn extends Column {
  constructor(key, title, text, more) {
    super(key, title, text, { cell: row => nameElement(text(row)), ...more });
  }
}

class Table {
  constructor(title, rows, columns, more) {
    Object.assign(this, { title, rows, columns }, more);
    this.visible = columns.filter(column => !column.isHidden);
    this.searched = this.visible.filter(column => !column.isRelated);
    this.searchTexts = [];
    this.sortedBy = '';
    this.sortedRows = rows;
    // Sixty thousand rows take a moment, which should not be that of the first letter typed.
    const addInIdleTime = idle => this.addTexts(() => idle.timeRemaining() > 1) && requestIdleCallback(addInIdleTime);
    if (window.requestIdleCallback) {
      requestIdleCallback(addInIdleTime);
    }
  }

  // The texts that a filter searches, row by row, in lower case.
  texts() {
    this.addTexts(() => true);
    return this.searchTexts;
  }

  // Adds texts while `mayGoOn`; returns whether some are still missing.
  addTexts(mayGoOn) {
    while (this.searchTexts.length < this.rows.length && mayGoOn()) {
      const row = this.rows[this.searchTexts.length];
      this.searchTexts.push(this.searched.map(column => column.searched(row)).join('\n').toLowerCase());
    }
    return this.searchTexts.length < this.rows.length;
  }

  // All rows, sorted by "column" or, downwards, "-column".
  sorted(sort) {
    if (this.sortedBy !== sort) {
      const sign = sort.startsWith('-') ? -1 : 1;
      const column = this.visible.find(({ key }) => key === sort.replace(/^-/, ''));
      const keys = column ? column.sortKeys(this.rows) : null;
      this.sortedBy = sort;
      this.sortedRows = keys ? this.rows.slice().sort((left, right) =>
        sign * (keys[left.place] - keys[right.place]) || left.place - right.place) : this.rows;
    }
    return this.sortedRows;
  }
}

const linkWith = (thing, text, address) => link(html('a', {}, nameElement(text || '(no name)')), () => address(thing));
export const linkTo = (thing, text) => linkWith(thing, text, ofThing);
export const linkInItsView = (thing, text) => linkWith(thing, text, inItsView);
const chooses = text => ({ cell: thing => linkTo(thing, text(thing)) });

export const livingCell = ({ living }) => living === 'no' ? badge('no', 'error') : living;
export const slotBadge = ({ state }) => badge(state, `slot-${state}`);

const interfaceTable = new Table('Interfaces', interfaces, [
  new IdColumn('id', 'Id', face => face.id),
  new Column('name', 'Name', face => face.name, chooses(face => face.name)),
  new NameColumn('role', 'Role', face => face.role),
  new NameColumn('domain', 'Domain', face => face.domain),
  new Column('type', 'Type', face => face.type, { isBadge: true, cell: face => badge(face.type, face.look) }),
  new Column('version', 'Version', face => face.version),
  new Column('state', 'State', face => face.state),
  new IdColumn('pid', 'PID', face => face.process && face.process.pid),
  new NameColumn('app', 'Application', face => (face.process && face.process.application) || ''),
  new NumberColumn('providers', 'Providers', face => face.providers.length),
  new NumberColumn('users', 'Users', face => face.receivers.ids.length),
  new NumberColumn('addressed', 'Addressed', face => face.addressed),
  new NumberColumn('oldest', 'Sent since oldest', face => face.oldest),
  new IdColumn('communicator', 'Communicator', face => face.communicator, { isHidden: true })
], { one: 'interface', hint: 'Finds rows that contain all words; type:stub, app:nav or pid:1234 searches one column.' });

export const startedText = ({ started }) => started === null ? '' : (started / 1000).toFixed(2);

const processTable = new Table('Processes', processes, [
  new IdColumn('pid', 'PID', process => process.pid, chooses(process => process.key)),
  new NameColumn('app', 'Application', process => process.application || ''),
  new Column('living', 'Living', process => process.living, { isBadge: true, cell: livingCell }),
  new NumberColumn('started', 'Started (s after boot)', process => process.started, { text: startedText }),
  new NumberColumn('provides', 'Provides', process => process.registered('skeleton')),
  new NumberColumn('uses', 'Uses', process => process.registered('stub')),
  new NumberColumn('addressed', 'Addressed', process => process.addressed),
  new NumberColumn('oldest', 'Sent since oldest', process => process.oldest),
  new Column('communicators', 'Communicators', process => process.communicators.map(one => one.id).join(' '))
], { one: 'process', many: 'processes', hint: 'Finds rows that contain all words; living:no searches one column.' });

const shareText = ({ share }) => share === null ? '' : `${Math.round(share * 100)} %`;

// Blocks in use, and a line at the number of blocks in the beginning.
function bar(manager) {
  const percent = value => `${Math.min(100, Math.max(0, value * 100))}%`;
  const share = manager.share || 0;
  const level = share >= 0.9 ? 'full' : share >= 0.7 ? 'high' : 'low';
  const total = Number(manager.total_blocks);
  const start = total > 0 ? percent(Number(manager.initial_blocks) / total) : '0%';
  return svg('svg', { class: 'usage', width: '100%', height: 14, 'aria-hidden': 'true' },
    svg('rect', { class: 'pool', width: '100%', height: 14 }),
    svg('rect', { class: level, width: percent(share), height: 14 }),
    svg('line', { class: 'initial', x1: start, x2: start, y1: 0, y2: 14 }));
}

export const usage = manager => html('span', { class: 'share' }, bar(manager), html('span', {}, shareText(manager)));

const memoryTable = new Table('Memory managers', memory, [
  new IdColumn('manager', 'Manager', manager => manager.place, chooses(manager => manager.key)),
  new NumberColumn('blocksize', 'Block size', manager => manager.block_size),
  new NumberColumn('initial', 'Initial', manager => manager.initial_blocks),
  new NumberColumn('additional', 'Additional', manager => manager.additional_blocks),
  new NumberColumn('total', 'Total', manager => manager.total_blocks),
  new NumberColumn('used', 'Used', manager => manager.used_blocks),
  new NumberColumn('functions', 'Functions', manager => manager.function_blocks),
  new NumberColumn('messages', 'Messages', manager => manager.message_blocks),
  new NumberColumn('unknown', 'Unknown', manager => manager.unknown_blocks),
  new NumberColumn('free', 'Free', manager => manager.free),
  new NumberColumn('use', 'Use', manager => manager.share, { text: shareText, cell: usage, width: 220 })
], { one: 'memory manager', hint: 'Functions, messages and unknown: what holds the used blocks. The line in a bar marks the initial number.' });

const senderName = slot => slot.sender ? slot.sender.name : '';

const messageTable = new Table('Messages', slots, [
  new IdColumn('slot', 'Slot', slot => slot.index, chooses(slot => slot.key)),
  new Column('state', 'State', slot => slot.state, { isBadge: true, cell: slotBadge }),
  new IdColumn('counter', 'Counter', slot => slot.counter),
  new NumberColumn('size', 'Size', slot => slot.size),
  new IdColumn('sender', 'Sender', slot => slot.senderId),
  new Column('name', 'Name', senderName,
    { isRelated: true, cell: slot => slot.sender ? linkTo(slot.sender, senderName(slot)) : 'missing' }),
  new Column('to', 'Receivers', slot => slot.receivers.text,
    { isRelated: true, fits: (slot, wanted) => wanted === '' || slot.receivers.has(Number(wanted)) }),
  new Column('data', 'Data', slot => slot.chain ? slot.chain.entries.join(' ') : ''),
  new Column('external', 'External', slot => slot.external ? slot.external.join('/') : ''),
  new Column('fault', 'Fault', slot => slot.fault, { isBadge: true, cell: slot => slot.fault && badge(slot.fault, 'error') })
], { one: 'message slot', related: interfaceTable,
  hint: 'Finds rows that contain all words; sender:3, to:5 or state:data searches one column.' });

export const tables = { interfaces: interfaceTable, processes: processTable, memory: memoryTable, messages: messageTable };
