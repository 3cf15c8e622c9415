// What the page shows, as the fragment of its address:
// #view=interfaces&filter=clock&sort=-name&at=interface:5

export const VIEWS = ['interfaces', 'processes', 'memory', 'messages'];
const VIEW_OF_KIND = { interface: 'interfaces', process: 'processes', memory: 'memory', slot: 'messages' };
const PAUSE = 300; // Browsers refuse too many changes of the address in a short time.

// The filter and order that each view was left with.
const lists = {};
VIEWS.forEach(view => { lists[view] = { filter: '', sort: '' }; });
let current = { view: VIEWS[0], at: '' };
let timer = 0;

// The view, the address of the chosen thing or nothing, and the filter and order of the view.
export const currentAddress = () => ({ ...current, list: lists[current.view] });

export function readAddress() {
  const parts = new URLSearchParams(location.hash.slice(1));
  const view = parts.get('view');
  current = { view: VIEWS.includes(view) ? view : VIEWS[0], at: parts.get('at') || '' };
  lists[current.view] = { filter: parts.get('filter') || '', sort: parts.get('sort') || '' };
}

function hash(view, at, { filter, sort }) {
  const parts = new URLSearchParams({ view });
  Object.entries({ filter, sort, at }).forEach(([key, value]) => value && parts.set(key, value));
  return '#' + parts.toString();
}

const addressOf = thing => `${thing.kind}:${thing.key}`;
export const ofView = view => hash(view, current.at, lists[view]);
// The list stays as it is while one walks from neighbour to neighbour.
export const ofThing = thing => hash(current.view, addressOf(thing), lists[current.view]);
// Opens the list that the thing is in.
export const inItsView = thing => hash(VIEW_OF_KIND[thing.kind], addressOf(thing), lists[VIEW_OF_KIND[thing.kind]]);
export const ofFilter = (view, filter) => hash(view, current.at, { filter, sort: lists[view].sort });

function writeAddress() {
  clearTimeout(timer);
  timer = 0;
  history.replaceState(null, '', ofView(current.view));
}

export function writeAddressSoon() {
  clearTimeout(timer);
  timer = setTimeout(writeAddress, PAUSE);
}

// What is not written yet belongs to the place that is left.
export function writePendingAddress() {
  if (timer) {
    writeAddress();
  }
}

// An address may depend on what has been typed since the link was made.
export function link(element, address) {
  element.setAttribute('href', address());
  element.addEventListener('click', () => {
    writePendingAddress();
    element.setAttribute('href', address());
  });
  return element;
}
