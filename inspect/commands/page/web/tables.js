// The four tables: what their columns are, and what stands in them. A row is a number; a table tells what belongs to it.
//
// A column: key (for the address and the filter), title, text(row); isNumber and value(row) for numbers (null: none);
// cell(row), an element in place of the text; isBadge when it is one; width, the least in pixels; fits(row, wanted) for a
// filter of its own; hidden: for the filter only; isRelated: of another table's row, see `related`.

/* global Address, Bus, Draw */
/* exported Tables */
const Tables = (() => {
  const { interfaces, processes, memory, slots } = Bus;

  const textColumn = (key, title, text, more) => Object.assign({ key, title, text }, more);
  const numberColumn = (key, title, value, more) => Object.assign({
    key, title, value, isNumber: true,
    text: row => value(row) === null ? '' : Draw.number(value(row))
  }, more);
  const plain = value => ({ text: row => value(row) === null ? '' : String(value(row)) });
  const idColumn = (key, title, value, more) => numberColumn(key, title, value, Object.assign(plain(value), more));

  const linkTo = (thing, text, inItsView) => Address.link(Draw.html('a', {}, Draw.name(text || 'without a name')),
    () => inItsView ? Address.inItsView(thing) : Address.ofThing(thing));
  const chooses = (thingOf, textOf) => ({ cell: row => linkTo(thingOf(row), textOf(row)) });
  const named = text => ({ cell: row => Draw.name(text(row)) });

  const badge = (text, kind) => Draw.html('span', { class: `badge ${kind}` }, text);
  const livingCell = living => living === 'no' ? badge('no', 'error') : living;

  const nameColumn = (key, title, text) => textColumn(key, title, text, named(text));

  const interfaceKind = face => face.required ? 'required' : face.type;

  const interfaceTable = {
    title: 'Interfaces', one: 'interface',
    hint: 'Words that all have to occur; type:stub, app:nav or pid:1234 asks one column.',
    count: interfaces.length,
    thing: row => interfaces[row],
    rowOf: thing => thing.kind === 'interface' ? thing.index : -1,
    columns: [
      idColumn('id', 'Id', row => interfaces[row].id),
      textColumn('name', 'Name', row => interfaces[row].name,
        chooses(row => interfaces[row], row => interfaces[row].name)),
      nameColumn('role', 'Role', row => interfaces[row].role),
      nameColumn('domain', 'Domain', row => interfaces[row].domain),
      textColumn('type', 'Type', row => interfaces[row].type,
        { isBadge: true, cell: row => badge(interfaces[row].type, interfaceKind(interfaces[row])) }),
      textColumn('version', 'Version', row => interfaces[row].version),
      textColumn('state', 'State', row => interfaces[row].state),
      idColumn('pid', 'PID', row => interfaces[row].process ? interfaces[row].process.pid : null),
      nameColumn('app', 'Application', row => (interfaces[row].process && interfaces[row].process.application) || ''),
      numberColumn('providers', 'Providers', row => Bus.providersOf(interfaces[row]).length),
      numberColumn('users', 'Users', row => Bus.userCount(interfaces[row])),
      idColumn('communicator', 'Communicator', row => interfaces[row].communicator, { hidden: true })
    ]
  };

  const startedText = started => started === null ? '' : (started / 1000).toFixed(2);

  const processTable = {
    title: 'Processes', one: 'process', many: 'processes',
    hint: 'Words that all have to occur; living:no asks one column.',
    count: processes.length,
    thing: row => processes[row],
    rowOf: thing => thing.kind === 'process' ? thing.index : -1,
    columns: [
      idColumn('pid', 'PID', row => processes[row].pid,
        chooses(row => processes[row], row => String(processes[row].pid))),
      nameColumn('app', 'Application', row => processes[row].application || ''),
      textColumn('living', 'Living', row => processes[row].living, { isBadge: true, cell: row => livingCell(processes[row].living) }),
      numberColumn('started', 'Started (s after boot)', row => processes[row].started,
        { text: row => startedText(processes[row].started) }),
      numberColumn('provides', 'Provides', row => processes[row].provides),
      numberColumn('uses', 'Uses', row => processes[row].uses),
      textColumn('communicators', 'Communicators', row => processes[row].communicators.map(one => one.id).join(' '))
    ]
  };

  const shareText = share => share === null ? '' : `${Math.round(share * 100)} %`;

  // Blocks in use, and those there were in the beginning.
  function bar(manager) {
    const percent = value => `${Math.min(100, Math.max(0, value * 100))}%`;
    const share = manager.share || 0;
    const level = share >= 0.9 ? 'full' : share >= 0.7 ? 'high' : 'low';
    const start = Number(manager.total) > 0 ? percent(Number(manager.initial) / Number(manager.total)) : '0%';
    return Draw.svg('svg', { class: 'usage', width: '100%', height: 14, 'aria-hidden': 'true' },
      Draw.svg('rect', { class: 'pool', width: '100%', height: 14 }),
      Draw.svg('rect', { class: level, width: percent(share), height: 14 }),
      Draw.svg('line', { class: 'initial', x1: start, x2: start, y1: 0, y2: 14 }));
  }

  const usage = row => Draw.html('span', { class: 'share' }, bar(memory[row]), Draw.html('span', {}, shareText(memory[row].share)));

  const memoryTable = {
    title: 'Memory managers', one: 'memory manager',
    hint: 'The line in a bar tells how many of its blocks were there in the beginning.',
    count: memory.length,
    thing: row => memory[row],
    rowOf: thing => thing.kind === 'memory' ? thing.index : -1,
    columns: [
      idColumn('manager', 'Manager', row => row, chooses(row => memory[row], row => String(row))),
      numberColumn('blocksize', 'Block size', row => memory[row].blockSize),
      numberColumn('initial', 'Initial', row => memory[row].initial),
      numberColumn('additional', 'Additional', row => memory[row].additional),
      numberColumn('total', 'Total', row => memory[row].total),
      numberColumn('used', 'Used', row => memory[row].used),
      numberColumn('free', 'Free', row => memory[row].free),
      numberColumn('use', 'Use', row => memory[row].share, { text: row => shareText(memory[row].share), cell: usage, width: 220 })
    ]
  };

  const faultOf = row => {
    const chain = slots.chain(row);
    return chain && chain.end !== 'whole' ? `${chain.end} at ${chain.next}` : '';
  };
  const externalOf = row => {
    const external = slots.external(row);
    return external ? `${external.manager}/${external.block}` : '';
  };
  const senderNameOf = row => slots.senderOf(row) ? slots.senderOf(row).name : '';

  const messageTable = {
    title: 'Messages', one: 'message slot',
    hint: 'Words that all have to occur; sender:3, to:5 or state:data asks one column.',
    count: slots.count,
    thing: row => Bus.slotThing(slots.index[row]),
    rowOf: thing => thing.kind === 'slot' ? thing.place : -1,
    related: interfaceTable,
    relatedRow: row => slots.senderOf(row) ? slots.senderOf(row).index : -1,
    columns: [
      idColumn('slot', 'Slot', row => slots.index[row],
        chooses(row => Bus.slotThing(slots.index[row]), row => String(slots.index[row]))),
      textColumn('state', 'State', row => slots.stateWord(row),
        { isBadge: true, cell: row => badge(slots.stateWord(row), `slot-${slots.stateWord(row)}`) }),
      idColumn('counter', 'Counter', row => slots.writerCounter[row]),
      numberColumn('size', 'Size', row => slots.userDataSize[row]),
      idColumn('sender', 'Sender', row => slots.sender[row]),
      textColumn('name', 'Name', senderNameOf, { isRelated: true, cell: row => slots.senderOf(row)
        ? linkTo(slots.senderOf(row), senderNameOf(row)) : 'not there' }),
      textColumn('to', 'Receivers', row => slots.receivers(row).text,
        { isRelated: true, fits: (row, wanted) => wanted === '' || slots.receivers(row).has(Number(wanted)) }),
      textColumn('data', 'Data', row => slots.chain(row) ? slots.chain(row).entries.join(' ') : ''),
      textColumn('external', 'External', externalOf),
      textColumn('fault', 'Fault', faultOf, { isBadge: true, cell: row => faultOf(row) && badge(faultOf(row), 'error') })
    ]
  };

  const tables = { interfaces: interfaceTable, processes: processTable, memory: memoryTable, messages: messageTable };

  Object.values(tables).forEach(table => {
    const shownRows = Array.from({ length: table.count }, (_, row) => row);
    const searched = table.columns.filter(column => !column.isRelated && !column.hidden)
      .map(column => column.isNumber ? column.value : column.text);
    const texts = [];
    // What the filter looks into, row by row, in lower case.
    table.texts = () => {
      addTexts(() => true);
      return texts;
    };
    // Adds to them while `mayGoOn`; whether there is more to add.
    function addTexts(mayGoOn) {
      while (texts.length < table.count && mayGoOn()) {
        const row = texts.length;
        texts.push(searched.map(part => part(row)).join('\n').toLowerCase());
      }
      return texts.length < table.count;
    }
    // Sixty thousand rows take a moment, which shall not be the one in which the first letter is typed.
    const addInIdleTime = idle => addTexts(() => idle.timeRemaining() > 1) && requestIdleCallback(addInIdleTime);
    if (window.requestIdleCallback) {
      requestIdleCallback(addInIdleTime);
    }
    table.rows = shownRows;
    table.visible = table.columns.filter(column => !column.hidden);
  });

  // The place of each text among all of them, in the order of people: Zone2 before Zone10.
  function ranksOf(texts) {
    const { compare } = new Intl.Collator('en', { numeric: true });
    const ranks = new Map(Array.from(new Set(texts)).sort(compare).map((text, rank) => [text, rank]));
    return texts.map(text => text === '' ? -1 : ranks.get(text));
  }

  // All rows, sorted by "column" or, downwards, "-column".
  function sorted(table, sort) {
    if (table.sortedBy !== sort) {
      const isDown = sort.startsWith('-');
      const column = table.visible.find(one => one.key === sort.slice(isDown ? 1 : 0));
      table.sortedBy = sort;
      table.sortedRows = table.rows;
      if (column) {
        const keys = column.isNumber ? table.rows.map(row => column.value(row) === null ? -1 : Number(column.value(row)))
          : ranksOf(table.rows.map(column.text));
        const sign = isDown ? -1 : 1;
        table.sortedRows = table.rows.slice().sort((left, right) => sign * (keys[left] - keys[right]) || left - right);
      }
    }
    return table.sortedRows;
  }

  return Object.assign({ sorted, badge, livingCell, linkTo, startedText, shareText, bar, faultOf, interfaceKind }, { of: tables });
})();
