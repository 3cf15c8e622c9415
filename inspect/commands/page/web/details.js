// Shows all that is known of the chosen thing.

import { link, ofFilter } from './address.js';
import { slotAt, thingAt, withId } from './bus.js';
import { badge, countText, html, nameElement, numberText } from './drawing.js';
import { linkInItsView, linkTo, livingCell, slotBadge, startedText, usage } from './tables.js';

const MOST_LISTED = 60; // ids in a row, unless all are asked for

const facts = rows => html('dl', {}, ...[].concat(...rows.filter(Boolean).map(
  ([label, ...content]) => [html('dt', {}, label), html('dd', {}, ...content)])));

const processLink = process => process ? linkTo(process, process.application ? `${process.label} (${process.pid})` : process.label) : 'none';
const interfaceLink = face => linkTo(face, `${face.name} / ${face.role}`);
const slotLink = index => slotAt(index) ? linkInItsView(slotAt(index), String(index)) : String(index);
const filterLink = (view, filter, label) => link(html('a', {}, label), () => ofFilter(view, filter));

// Links one after the other; of very many, the first ones and a button for the rest.
function listed(values, linkOf) {
  if (values.length === 0) {
    return ['none'];
  }
  const joined = some => [].concat(...some.map(value => [linkOf(value), ' ']));
  const first = joined(values.slice(0, MOST_LISTED));
  if (values.length > MOST_LISTED) {
    const button = html('button', { type: 'button' }, `${numberText(values.length - MOST_LISTED)} more`);
    button.addEventListener('click', () => button.replaceWith(...joined(values.slice(MOST_LISTED))));
    first.push(button);
  }
  return first;
}

function functionsOf({ functions, functionsAreCut }) {
  if (functions === null) {
    return functionsAreCut ? 'left out: too many on this bus' : 'could not be read';
  }
  const more = functionsAreCut ? [html('li', {}, 'and more, left out: too many on this bus')] : [];
  return functions.length === 0 ? 'none'
    : html('ol', { start: 0, class: 'functions' }, ...functions.map(one => html('li', {}, nameElement(one))), ...more);
}

const backlogText = ({ addressed, oldest }) => oldest === null ? 'none addressed'
  : `${numberText(addressed)} addressed, ${numberText(oldest)} sent since the oldest`;

const interfaceFacts = face => facts([
  ['Name', nameElement(face.name)],
  ['Role', nameElement(face.role)],
  ['Domain', nameElement(face.domain)],
  ['Id', String(face.id)],
  ['Type', badge(face.type, face.type)],
  ['State', face.isRequired ? badge('preregistered: required, but not registered yet', 'required') : face.state],
  ['Version', face.version],
  ['Process', processLink(face.process)],
  ['Communicator', face.communicator === null ? 'none' : String(face.communicator)],
  ['Messages', filterLink('messages', `sender:${face.id}`, 'sent'), ' ', filterLink('messages', `to:${face.id}`, 'to receive'), ` (${backlogText(face)})`],
  ['Function storage', face.storage],
  ['Functions', functionsOf(face)]
]);

const processFacts = process => facts([
  ['Application', process.application === null ? 'unknown' : nameElement(process.application)],
  ['PID', process.key],
  ['Living', livingCell(process)],
  ['Started', process.started === null ? 'unknown' : `${startedText(process)} s after boot`],
  ['Communicators', process.communicators.map(one => one.state === 'registered' ? one.id : `${one.id} (${one.state})`).join(', ')],
  ['Interfaces', filterLink('interfaces', `pid:${process.pid}`, countText(process.interfaces.length, 'interface'))],
  ['Messages', backlogText(process)]
]);

const memoryFacts = manager => facts([
  ['Use', usage(manager)],
  ['Block size', `${numberText(manager.block_size)} bytes`],
  ['Used blocks', numberText(manager.used_blocks)],
  ['Held by', `functions ${numberText(manager.function_blocks)}, messages ${numberText(manager.message_blocks)}, `
    + `unknown ${numberText(manager.unknown_blocks)}`],
  ['Total blocks', numberText(manager.total_blocks)],
  ['Initial blocks', numberText(manager.initial_blocks)],
  ['Additional blocks', numberText(manager.additional_blocks)]
]);

const chainFact = slot => slot.message ? ['Part of the message in', slotLink(slot.message.index)]
  : slot.chain && ['Data entries', ...listed(slot.chain.entries, slotLink)];

function externalFact({ external }) {
  if (!external) {
    return null;
  }
  const [place, block] = external;
  const manager = thingAt(`memory:${place}`);
  return ['External data', `block ${block} of `, manager ? linkInItsView(manager, `memory manager ${place}`)
    : `memory manager ${place} (missing)`];
}

const missing = text => badge(text, 'error');
const receiverLink = id => withId(id).length > 0 ? linkTo(withId(id)[0], String(id)) : missing(`[${id}]`);

const slotFacts = slot => facts([
  ['State', slotBadge(slot)],
  ['Sender', `${slot.senderId} `, slot.sender ? interfaceLink(slot.sender) : missing('missing')],
  ['Process', processLink(slot.sender && slot.sender.process)],
  ['Writer counter', String(slot.counter)],
  ['User data size', numberText(slot.size)],
  chainFact(slot),
  slot.fault ? ['Fault', badge(slot.fault, 'error')] : null,
  externalFact(slot),
  ['Receivers', ...listed(slot.receivers.ids, receiverLink)]
]);

const KINDS = {
  interface: { title: face => face.name || `Interface ${face.id}`, facts: interfaceFacts },
  process: { title: process => process.label, facts: processFacts },
  memory: { title: manager => `Memory manager ${manager.key}`, facts: memoryFacts },
  slot: { title: slot => `Slot ${slot.key}`, facts: slotFacts }
};

export const titleOf = thing => thing ? KINDS[thing.kind].title(thing) : 'Nothing selected';

export const showDetails = (container, thing) => container.replaceChildren(thing ? KINDS[thing.kind].facts(thing)
  : html('p', {}, 'Select a row to see its details and connections.'));
