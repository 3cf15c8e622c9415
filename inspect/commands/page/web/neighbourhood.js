// Draws an interface or a process in the middle of those that it is connected with: providers left, users right, each in
// the box of its process. Arrows lead from user to provider. Where there are very many, processes stand for them.

import { link, ofFilter, ofThing } from './address.js';
import { addTo } from './bus.js';
import { countText, html, svg, textWidth } from './drawing.js';

const MOST_SINGLE = 12; // on a side; more are grouped by process
const MOST_GROUPS = 30; // boxes on a side, unless all are asked for
const MOST_OWN = 24; // interfaces of a process in the middle
const LEAST_WIDTH = 600;
const GAP = 46; // between the columns, for the arrows
const HEAD = 20; // of a box
const NODE = 50;
const LINE = 22; // a node of one line
const SPACE = 8;
const FONT = '12px system-ui, sans-serif';

// The text as far as it fits, its beginning and its end.
function fit(whole, room, font) {
  if (textWidth(whole, font) <= room) {
    return whole;
  }
  const characters = Array.from(whole);
  let low = 0;
  let high = Math.min(characters.length, 80);
  const cut = kept => characters.slice(0, Math.ceil(kept / 2)).join('') + '…' +
    characters.slice(characters.length - Math.floor(kept / 2)).join('');
  while (low < high) {
    const middle = Math.ceil((low + high) / 2);
    if (textWidth(cut(middle), font) <= room) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return cut(low);
}

const fittingText = (x, y, content, look, room) => svg('text', { x, y, class: look },
  fit(content, room, look === 'name' ? 'bold ' + FONT : FONT));

const stateText = process => process && process.isDead ? ' · dead' : '';
const processText = process => process ? `${process.label}${process.application ? ` ${process.pid}` : ''}${stateText(process)}`
  : 'no process';

// Stands for one or more interfaces, which arrows lead to.
class Node {
  constructor(faces, height) {
    Object.assign(this, { faces, height });
  }

  place(x, y, width) {
    Object.assign(this, { x, y, width });
  }

  frame() {
    return svg('rect', { x: this.x, y: this.y, width: this.width, height: this.height, rx: 4 });
  }

  line(below, content, look) {
    return fittingText(this.x + 6, this.y + below, content, look, this.width - 12);
  }
}

class FaceNode extends Node {
  constructor(face, isChosen) {
    super([face], NODE);
    Object.assign(this, { face, isChosen });
  }

  element() {
    const { name, role, domain, id, look, version, process } = this.face;
    const kind = `${look} ${version}`;
    return link(svg('a', {
      class: `node ${look}${this.isChosen ? ' middle' : ''}`, 'aria-label': `${name}, ${role}, ${kind}${stateText(process)}`,
      'aria-current': this.isChosen ? 'true' : null
    }, svg('title', {}, `${name}\n${role}\n${domain}\n${kind}, id ${id}`), this.frame(),
    this.line(15, name, 'name'), this.line(30, role, ''), this.line(44, `${kind} · ${domain}`, 'small')), () => ofThing(this.face));
  }
}

class AbsentNode extends Node {
  constructor(face) {
    super([face], NODE);
  }

  element() {
    return svg('g', { class: 'node absent' }, this.frame(), this.line(20, `interface ${this.faces[0].id}`, 'name'),
      this.line(38, 'missing', ''));
  }
}

// One line for some interfaces of a process.
class LineNode extends Node {
  constructor(faces, label, process, address = () => ofThing(process)) {
    super(faces, LINE);
    Object.assign(this, { label, process, address });
  }

  element() {
    const shape = [this.frame(), this.line(15, this.label, '')];
    return this.process ? link(svg('a', { class: 'node group', 'aria-label': `${this.label} of process ${processText(this.process)}` },
      ...shape), this.address) : svg('g', { class: 'node group' }, ...shape);
  }
}

const nodesOf = faces => faces.map(face => face.kind === 'absent' ? new AbsentNode(face) : new FaceNode(face));

class Box {
  constructor(process, nodes, isChosen) {
    Object.assign(this, { process, nodes, isChosen });
    this.height = nodes.reduce((height, node) => height + node.height + SPACE, HEAD);
  }

  place(x, y, width) {
    Object.assign(this, { x, y, width });
    let below = y + HEAD;
    this.nodes.forEach(node => {
      node.place(x + SPACE, below, width - 2 * SPACE);
      below += node.height + SPACE;
    });
  }

  head() {
    const { x, y, width, process } = this;
    const title = processText(process);
    const element = fittingText(x + SPACE, y + 14, title, 'title', width - 2 * SPACE);
    return process ? link(svg('a', { class: 'process', 'aria-label': `process ${title}` }, svg('title', {}, title),
      svg('rect', { class: 'grip', x, y, width, height: HEAD }), element), () => ofThing(process)) : element;
  }

  element() {
    const { x, y, width, height, process } = this;
    return svg('g', { class: `box${process && process.isDead ? ' dead' : ''}${this.isChosen ? ' middle' : ''}` },
      svg('rect', { class: 'frame', x, y, width, height, rx: 6 }), this.head(), ...this.nodes.map(node => node.element()));
  }
}

// Interfaces of one process together, in the order in which the processes come up first.
function byProcess(faces) {
  const groups = new Map();
  faces.forEach(face => addTo(groups, face.process, face));
  return Array.from(groups);
}

// The boxes of one side, and the number of those left out.
function sideBoxes(faces, isAllWanted) {
  const isGrouped = faces.length > MOST_SINGLE;
  const groups = byProcess(faces);
  const shown = groups.slice(0, isAllWanted ? groups.length : MOST_GROUPS);
  return {
    boxes: shown.map(([process, some]) => new Box(process,
      isGrouped ? [new LineNode(some, countText(some.length, 'interface'), process)] : nodesOf(some))),
    left: groups.length - shown.length
  };
}

function middleBox(thing) {
  if (thing.kind === 'interface') {
    const others = thing.process ? thing.process.interfaces.length - 1 : 0;
    return new Box(thing.process, [new FaceNode(thing, true),
      ...others > 0 ? [new LineNode([], `and ${countText(others, 'other')}`, thing.process)] : []]);
  }
  const nodes = nodesOf(thing.interfaces.slice(0, MOST_OWN));
  const hidden = thing.interfaces.slice(MOST_OWN);
  if (hidden.length > 0) {
    nodes.push(new LineNode(hidden, countText(hidden.length, 'more interface'), thing,
      () => ofFilter('interfaces', `pid:${thing.pid}`)));
  }
  return new Box(thing, nodes, true);
}

const columnHeight = boxes => Math.max(0, boxes.reduce((height, box) => height + box.height + 2 * SPACE, -2 * SPACE));

function placeColumn(boxes, x, y, width) {
  let below = y;
  boxes.forEach(box => {
    box.place(x, below, width);
    below += box.height + 2 * SPACE;
  });
}

// From the left edge of the user to the right edge of the provider.
function arrow(user, provider, isRequired) {
  const from = [user.x, user.y + user.height / 2];
  const to = [provider.x + provider.width + 1, provider.y + provider.height / 2];
  const bend = GAP / 2 + 2 * SPACE;
  return svg('path', {
    class: isRequired ? 'edge required' : 'edge', 'marker-end': isRequired ? 'url(#arrow-required)' : 'url(#arrow)',
    d: `M${from} C${from[0] - bend},${from[1]} ${to[0] + bend},${to[1]} ${to}`
  });
}

const nodeByFace = boxes => new Map([].concat(...boxes.map(box => [].concat(...box.nodes.map(
  node => node.faces.map(face => [face, node]))))));

// Each pair of nodes once, whatever number of interfaces they stand for.
function arrows(middle, providers, users) {
  const drawn = new Map();
  const join = (user, provider, isRequired) => {
    if (user && provider) {
      const targets = drawn.get(user) || drawn.set(user, new Map()).get(user);
      targets.set(provider, isRequired && targets.get(provider) !== false);
    }
  };
  const left = nodeByFace(providers);
  const right = nodeByFace(users);
  middle.nodes.forEach(node => node.faces.forEach(face => {
    face.providers.forEach(provider => join(node, left.get(provider), provider.isRequired));
    face.users.forEach(user => join(right.get(user), node, face.isRequired));
  }));
  return [].concat(...Array.from(drawn, ([user, targets]) => Array.from(targets,
    ([provider, isRequired]) => arrow(user, provider, isRequired))));
}

const marker = (id, look) => svg('marker', {
  id, class: look, viewBox: '0 0 8 8', refX: 7, refY: 4, markerWidth: 7, markerHeight: 7, orient: 'auto'
}, svg('path', { d: 'M0,0 L8,4 L0,8 Z' }));

const distinct = lists => Array.from(new Set([].concat(...lists)));

function neighboursOf(thing) {
  const own = thing.kind === 'interface' ? [thing] : thing.interfaces;
  return { providers: distinct(own.map(face => face.providers)), users: distinct(own.map(face => face.users)) };
}

const summaryOf = ({ providers, users }) => `${countText(providers.length, 'provider')}, ${countText(users.length, 'user')}`;

function picture(thing, neighbours, width, isAllWanted) {
  const columnWidth = (width - 2 * GAP) / 3;
  const left = sideBoxes(neighbours.providers, isAllWanted);
  const right = sideBoxes(neighbours.users, isAllWanted);
  const middle = middleBox(thing);
  const columns = [left.boxes, [middle], right.boxes];
  const heights = columns.map(columnHeight);
  const height = Math.max(...heights) + 2;
  const leftEdge = i => i * (columnWidth + GAP);
  columns.forEach((boxes, i) => placeColumn(boxes, leftEdge(i), 25 + (height - heights[i]) / 2, columnWidth));
  const titles = [`Providers (${neighbours.providers.length})`, '', `Users (${neighbours.users.length})`];
  const element = svg('svg', {
    viewBox: `-2 0 ${width + 4} ${height + 30}`, role: 'group', 'aria-label': `Neighbourhood: ${summaryOf(neighbours)}`
  }, svg('defs', {}, marker('arrow', 'arrow'), marker('arrow-required', 'arrow required')),
  ...titles.map((title, i) => svg('text', { class: 'column', x: leftEdge(i) + columnWidth / 2, y: 14 }, title)),
  ...[].concat(...columns).map(box => box.element()), ...arrows(middle, left.boxes, right.boxes));
  return { element, left: left.left + right.left };
}

function pictureLegend() {
  const kinds = [['skeleton', 'skeleton: provides'], ['stub', 'stub: uses'], ['required', 'required: not registered yet'], ['dead', 'process is dead']];
  return html('ul', { class: 'legend' }, ...kinds.map(([look, label]) => html('li', {},
    html('span', { class: `swatch ${look}`, 'aria-hidden': 'true' }), label)));
}

// Returns the number of neighbours in words; empty for a thing that has none drawn.
export function showNeighbourhood(container, thing, isAllWanted) {
  if (!thing || (thing.kind !== 'interface' && thing.kind !== 'process')) {
    container.replaceChildren();
    return '';
  }
  const neighbours = neighboursOf(thing);
  const { element, left } = picture(thing, neighbours, Math.max(LEAST_WIDTH, container.clientWidth - 4), isAllWanted);
  container.replaceChildren(element, pictureLegend());
  if (left > 0) {
    const button = html('button', { type: 'button' }, `Show ${countText(left, 'more process', 'more processes')}`);
    button.addEventListener('click', () => showNeighbourhood(container, thing, true));
    container.append(button);
  }
  return summaryOf(neighbours);
}
