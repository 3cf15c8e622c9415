// Tells all that is known of what is chosen.

/* global Address, Bus, Draw, Tables */
/* exported Details */
const Details = (() => {
  const MOST_LISTED = 60; // ids in a row, unless all are asked for

  const { html, name } = Draw;
  const { linkTo } = Tables;

  const facts = rows => html('dl', {}, ...[].concat(...rows.filter(Boolean).map(
    ([label, ...content]) => [html('dt', {}, label), html('dd', {}, ...content)])));

  const missing = () => html('span', { class: 'badge error' }, 'not there');

  const processLink = process => process ? linkTo(process, process.application ? `${process.label} (${process.pid})` : process.label) : 'none';
  const interfaceLink = face => linkTo(face, `${face.name} / ${face.role}`);

  const slotLink = index => Bus.slotThing(index) ? linkTo(Bus.slotThing(index), String(index), true) : String(index);

  // Links one after the other; of very many, the first ones and a button for the rest.
  function listed(values, linkOf) {
    if (values.length === 0) {
      return ['none'];
    }
    const joined = some => [].concat(...some.map(value => [linkOf(value), ' ']));
    const first = joined(values.slice(0, MOST_LISTED));
    if (values.length > MOST_LISTED) {
      const button = html('button', { type: 'button' }, `${Draw.number(values.length - MOST_LISTED)} more`);
      button.addEventListener('click', () => button.replaceWith(...joined(values.slice(MOST_LISTED))));
      first.push(button);
    }
    return first;
  }

  const filterLink = (view, filter, label) => Address.link(html('a', {}, label), () => Address.ofFilter(view, filter));

  function functionsOf(face) {
    if (face.functions === null) {
      return ['could not be read'];
    }
    return face.functions.length === 0 ? ['none']
      : [html('ol', { start: 0, class: 'functions' }, ...face.functions.map(one => html('li', {}, name(one))))];
  }

  const ofInterface = face => facts([
    ['Name', name(face.name)],
    ['Role', name(face.role)],
    ['Domain', name(face.domain)],
    ['Id', String(face.id)],
    ['Type', Tables.badge(face.type, face.type)],
    ['State', face.required ? Tables.badge('preregistered: required, but not there yet', 'required') : face.state],
    ['Version', face.version],
    ['Process', processLink(face.process)],
    ['Communicator', face.communicator === null ? 'none' : String(face.communicator)],
    ['Messages', filterLink('messages', `sender:${face.id}`, 'sent'), ' ', filterLink('messages', `to:${face.id}`, 'to receive')],
    ['Function storage', face.storage],
    ['Functions', ...functionsOf(face)]
  ]);

  const ofProcess = process => facts([
    ['Application', process.application === null ? 'not to be known' : name(process.application)],
    ['PID', String(process.pid)],
    ['Living', Tables.livingCell(process.living)],
    ['Started', process.started === null ? 'not to be known' : `${Tables.startedText(process.started)} s after the boot`],
    ['Communicators', process.communicators.map(one => one.state === 'registered' ? one.id : `${one.id} (${one.state})`).join(', ')],
    ['Interfaces', filterLink('interfaces', `pid:${process.pid}`, Draw.count(process.interfaces.length, 'interface'))]
  ]);

  const ofMemory = manager => facts([
    ['Use', html('span', { class: 'share' }, Tables.bar(manager), html('span', {}, Tables.shareText(manager.share)))],
    ['Block size', `${Draw.number(manager.blockSize)} bytes`],
    ['Blocks used', Draw.number(manager.used)],
    ['Blocks now', Draw.number(manager.total)],
    ['Blocks in the beginning', Draw.number(manager.initial)],
    ['An enlargement adds', Draw.number(manager.additional)]
  ]);

  function chainFact(place) {
    const { slots } = Bus;
    const index = slots.index[place];
    const message = slots.stateWord(place) === 'data' ? slots.messageWith(index) : undefined;
    if (message !== undefined) {
      return ['Belongs to the message in', slotLink(slots.index[message])];
    }
    const chain = slots.chain(place);
    return chain && ['Data entries', ...listed(chain.entries, slotLink)];
  }

  function externalFact(place) {
    const external = Bus.slots.external(place);
    if (!external) {
      return null;
    }
    const manager = Bus.thing(`memory:${external.manager}`);
    return ['External data', `block ${external.block} of `, manager ? linkTo(manager, `memory manager ${external.manager}`, true)
      : `memory manager ${external.manager}, which is not there`];
  }

  function ofSlot({ place }) {
    const { slots } = Bus;
    const sender = slots.senderOf(place);
    const receiverLink = id => Bus.withId(id).length > 0 ? linkTo(Bus.withId(id)[0], String(id)) : html('span', { class: 'badge error' }, `[${id}]`);
    const state = slots.stateWord(place);
    return facts([
      ['State', Tables.badge(state, `slot-${state}`)],
      ['Sender', `${slots.sender[place]} `, sender ? interfaceLink(sender) : missing()],
      ['Process', processLink(sender && sender.process)],
      ['Writer counter', String(slots.writerCounter[place])],
      ['User data size', Draw.number(slots.userDataSize[place])],
      chainFact(place),
      Tables.faultOf(place) ? ['Fault', Tables.badge(Tables.faultOf(place), 'error')] : null,
      externalFact(place),
      ['Receivers', ...listed(slots.receiverIds(place), receiverLink)]
    ]);
  }

  const KINDS = {
    interface: { title: face => `${face.name || 'Interface ' + face.id}`, show: ofInterface },
    process: { title: process => `${process.label}`, show: ofProcess },
    memory: { title: manager => `Memory manager ${manager.index}`, show: ofMemory },
    slot: { title: thing => `Slot ${thing.key}`, show: ofSlot }
  };

  function title(thing) {
    return thing ? KINDS[thing.kind].title(thing) : 'Nothing chosen';
  }

  function show(container, thing) {
    container.replaceChildren(thing ? KINDS[thing.kind].show(thing)
      : html('p', {}, 'Choose a row of the table to see it here, with all that it is connected with.'));
  }

  return { title, show };
})();
