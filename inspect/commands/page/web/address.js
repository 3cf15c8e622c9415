// Where one is on the page, which stands in the fragment of its address:
// #view=interfaces&filter=clock&sort=-name&at=interface:5

/* exported Address */
const Address = (() => {
  const VIEWS = ['interfaces', 'processes', 'memory', 'messages'];
  const VIEW_OF_KIND = { interface: 'interfaces', process: 'processes', memory: 'memory', slot: 'messages' };
  const PAUSE = 300; // Browsers refuse too many changes of the address in a short time.

  // What each view was left with, so that one finds it again.
  const lists = {};
  VIEWS.forEach(view => { lists[view] = { filter: '', sort: '' }; });
  const current = { view: VIEWS[0], at: '' };
  let timer = 0;

  function read() {
    const parts = new URLSearchParams(location.hash.slice(1));
    const view = parts.get('view');
    current.view = VIEWS.includes(view) ? view : VIEWS[0];
    current.at = parts.get('at') || '';
    lists[current.view] = { filter: parts.get('filter') || '', sort: parts.get('sort') || '' };
  }

  function hash(view, at, list) {
    const parts = new URLSearchParams();
    parts.set('view', view);
    const { filter, sort } = list || lists[view];
    if (filter) {
      parts.set('filter', filter);
    }
    if (sort) {
      parts.set('sort', sort);
    }
    if (at) {
      parts.set('at', at);
    }
    return '#' + parts.toString();
  }

  const addressOf = thing => `${thing.kind}:${thing.key}`;
  const ofView = view => hash(view, current.at);
  // The list stays as it is while one walks from neighbour to neighbour.
  const ofThing = thing => hash(current.view, addressOf(thing));
  // A list of other things is opened.
  const inItsView = thing => hash(VIEW_OF_KIND[thing.kind], addressOf(thing));
  const ofFilter = (view, filter) => hash(view, current.at, { filter, sort: lists[view].sort });

  function write() {
    clearTimeout(timer);
    timer = 0;
    history.replaceState(null, '', hash(current.view, current.at));
  }

  function writeSoon() {
    clearTimeout(timer);
    timer = setTimeout(write, PAUSE);
  }

  // What is not written yet belongs to the place that is left.
  function writePending() {
    if (timer) {
      write();
    }
  }

  // An address may depend on what has been typed since the link was made.
  function link(element, address) {
    element.setAttribute('href', address());
    element.addEventListener('click', () => {
      writePending();
      element.setAttribute('href', address());
    });
    return element;
  }

  return { VIEWS, current, lists, read, ofView, ofThing, inItsView, ofFilter, addressOf, writeSoon, writePending, link };
})();
