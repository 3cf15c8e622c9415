// Draws an interface or a process in the middle of those that it is connected with: providers left, users right, each in
// the box of its process. Arrows lead from user to provider. Where there are very many, processes stand for them.

/* global Address, Bus, Draw, Tables */
/* exported Neighbourhood */
const Neighbourhood = (() => {
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

  let width = 0; // of the picture
  let columnWidth = 0;

  // The text as far as it fits, its beginning and its end.
  function fit(whole, room, font) {
    if (Draw.textWidth(whole, font) <= room) {
      return whole;
    }
    const characters = Array.from(whole);
    let low = 0;
    let high = Math.min(characters.length, 80);
    const cut = kept => characters.slice(0, Math.ceil(kept / 2)).join('') + '…' +
      characters.slice(characters.length - Math.floor(kept / 2)).join('');
    while (low < high) {
      const middle = Math.ceil((low + high) / 2);
      if (Draw.textWidth(cut(middle), font) <= room) {
        low = middle;
      } else {
        high = middle - 1;
      }
    }
    return cut(low);
  }

  const text = (x, y, content, kind, room) => Draw.svg('text', { x, y, class: kind },
    fit(content, room, kind === 'name' ? 'bold ' + FONT : FONT));

  const stateOf = process => process && process.living === 'no' ? ' · dead' : '';
  const processText = process => process ? `${process.label}${process.application ? ` ${process.pid}` : ''}${stateOf(process)}`
    : 'no process';

  // Interfaces of one process together, in the order in which the processes come up first.
  function byProcess(faces) {
    const boxes = new Map();
    faces.forEach(face => {
      if (!boxes.has(face.process)) {
        boxes.set(face.process, { process: face.process, faces: [] });
      }
      boxes.get(face.process).faces.push(face);
    });
    return Array.from(boxes.values());
  }

  // What a box holds: nodes for interfaces, or one line that stands for them all.
  function contents(box, isGrouped) {
    if (isGrouped) {
      return [{ faces: box.faces, height: LINE, label: Draw.count(box.faces.length, 'interface') }];
    }
    return box.faces.map(face => ({ faces: [face], height: NODE, face }));
  }

  function sideBoxes(faces, isAllWanted) {
    const isGrouped = faces.length > MOST_SINGLE;
    const boxes = byProcess(faces);
    const limit = isAllWanted ? boxes.length : MOST_GROUPS;
    return {
      boxes: boxes.slice(0, limit).map(box => ({ process: box.process, nodes: contents(box, isGrouped), isGrouped })),
      left: boxes.length - Math.min(limit, boxes.length)
    };
  }

  function middleBox(thing) {
    if (thing.kind === 'interface') {
      const others = thing.process ? thing.process.interfaces.length - 1 : 0;
      const nodes = [{ faces: [thing], height: NODE, face: thing, isChosen: true }];
      if (others > 0) {
        nodes.push({ faces: [], height: LINE, label: `and ${Draw.count(others, 'other')}` });
      }
      return { process: thing.process, nodes };
    }
    const shown = thing.interfaces.slice(0, MOST_OWN);
    const hidden = thing.interfaces.slice(MOST_OWN);
    const nodes = shown.map(face => ({ faces: [face], height: NODE, face }));
    if (hidden.length > 0) {
      nodes.push({ faces: hidden, height: LINE, label: `${Draw.count(hidden.length, 'more interface')}`, filter: `pid:${thing.pid}` });
    }
    return { process: thing, nodes, isChosen: true };
  }

  // Gives each box and node its place; returns the height of the column.
  function place(boxes, x) {
    let y = 0;
    boxes.forEach(box => {
      Object.assign(box, { x, y });
      y += HEAD;
      box.nodes.forEach(node => {
        Object.assign(node, { x: x + SPACE, y, width: columnWidth - 2 * SPACE });
        y += node.height + SPACE;
      });
      box.height = y - box.y;
      y += 2 * SPACE;
    });
    return Math.max(0, y - 2 * SPACE);
  }

  function shift(boxes, by) {
    boxes.forEach(box => {
      box.y += by;
      box.nodes.forEach(node => { node.y += by; });
    });
  }

  const kindWord = face => face.required ? 'required' : face.type;

  function faceNode(node) {
    const { face, x, y } = node;
    const box = { x, y, width: node.width, height: NODE, rx: 4 };
    const inner = node.width - 12;
    if (face.kind === 'absent') {
      return Draw.svg('g', { class: 'node absent' }, Draw.svg('rect', box),
        text(x + 6, y + 20, `interface ${face.id}`, 'name', inner), text(x + 6, y + 38, 'not there', '', inner));
    }
    const label = `${face.name}, ${face.role}, ${kindWord(face)} ${face.version}${stateOf(face.process)}`;
    const link = Draw.svg('a', {
      class: `node ${Tables.interfaceKind(face)}${node.isChosen ? ' middle' : ''}`, 'aria-label': label,
      'aria-current': node.isChosen ? 'true' : null
    }, Draw.svg('title', {}, `${face.name}\n${face.role}\n${face.domain}\n${kindWord(face)} ${face.version}, id ${face.id}`),
    Draw.svg('rect', box),
    text(x + 6, y + 15, face.name, 'name', inner), text(x + 6, y + 30, face.role, '', inner),
    text(x + 6, y + 44, `${kindWord(face)} ${face.version} · ${face.domain}`, 'small', inner));
    return Address.link(link, () => Address.ofThing(face));
  }

  function lineNode(node, process) {
    const { x, y, label } = node;
    const shape = [Draw.svg('rect', { x, y, width: node.width, height: node.height, rx: 4 }),
      text(x + 6, y + 15, label, '', node.width - 12)];
    if (!process) {
      return Draw.svg('g', { class: 'node group' }, ...shape);
    }
    const link = Draw.svg('a', { class: 'node group', 'aria-label': `${label} of process ${processText(process)}` }, ...shape);
    return Address.link(link, () => node.filter ? Address.ofFilter('interfaces', node.filter) : Address.ofThing(process));
  }

  function boxElement(box) {
    const { x, y, height, process } = box;
    const title = text(x + SPACE, y + 14, processText(process), 'title', columnWidth - 2 * SPACE);
    const isDead = process && process.living === 'no';
    const head = process ? Address.link(Draw.svg('a', { class: 'process', 'aria-label': `process ${processText(process)}` },
      Draw.svg('title', {}, processText(process)), Draw.svg('rect', { class: 'grip', x, y, width: columnWidth, height: HEAD }), title),
    () => Address.ofThing(process)) : title;
    return Draw.svg('g', { class: `box${isDead ? ' dead' : ''}${box.isChosen ? ' middle' : ''}` },
      Draw.svg('rect', { class: 'frame', x, y, width: columnWidth, height, rx: 6 }), head,
      ...box.nodes.map(node => node.face ? faceNode(node) : lineNode(node, process)));
  }

  // From the left edge of the user to the right edge of the provider.
  function arrow(user, provider, isRequired) {
    const from = [user.x, user.y + user.height / 2];
    const to = [provider.x + provider.width + 1, provider.y + provider.height / 2];
    const bend = GAP / 2 + 2 * SPACE;
    return Draw.svg('path', {
      class: isRequired ? 'edge required' : 'edge', 'marker-end': isRequired ? 'url(#arrow-required)' : 'url(#arrow)',
      d: `M${from} C${from[0] - bend},${from[1]} ${to[0] + bend},${to[1]} ${to}`
    });
  }

  const nodeByFace = boxes => new Map([].concat(...boxes.map(box => [].concat(...box.nodes.map(
    node => node.faces.map(face => [face.kind === 'absent' ? face.id : face, node]))))));

  // Each pair of nodes once, whatever number of interfaces they stand for.
  function arrows(middle, providers, users) {
    const drawn = new Map();
    const add = (user, provider, holder) => {
      if (user && provider) {
        const targets = drawn.get(user) || drawn.set(user, new Map()).get(user);
        targets.set(provider, holder.required && targets.get(provider) !== false);
      }
    };
    const left = nodeByFace(providers);
    const right = nodeByFace(users);
    middle.nodes.forEach(node => node.faces.forEach(face => {
      Bus.providersOf(face).forEach(holder => add(node, left.get(holder), holder));
      Bus.usersOf(face).forEach(user => add(right.get(user.kind === 'absent' ? user.id : user), node, face));
    }));
    const paths = [];
    drawn.forEach((targets, user) => targets.forEach((isRequired, provider) => paths.push(arrow(user, provider, isRequired))));
    return paths;
  }

  const marker = (id, kind) => Draw.svg('marker', {
    id, class: kind, viewBox: '0 0 8 8', refX: 7, refY: 4, markerWidth: 7, markerHeight: 7, orient: 'auto'
  }, Draw.svg('path', { d: 'M0,0 L8,4 L0,8 Z' }));

  const distinct = faces => {
    const seen = new Set();
    return faces.filter(face => {
      const key = face.kind === 'absent' ? face.id : face;
      return !seen.has(key) && seen.add(key);
    });
  };

  function neighboursOf(thing) {
    const own = thing.kind === 'interface' ? [thing] : thing.interfaces;
    return {
      providers: distinct([].concat(...own.map(Bus.providersOf))),
      users: distinct([].concat(...own.map(Bus.usersOf)))
    };
  }

  const summary = ({ providers, users }) => `${Draw.count(providers.length, 'provider')}, ${Draw.count(users.length, 'user')}`;

  function picture(thing, neighbours, isAllWanted) {
    const left = sideBoxes(neighbours.providers, isAllWanted);
    const right = sideBoxes(neighbours.users, isAllWanted);
    const middle = middleBox(thing);
    const columns = [left.boxes, [middle], right.boxes];
    const heights = columns.map((boxes, i) => place(boxes, i * (columnWidth + GAP)));
    const height = Math.max(...heights) + 2;
    columns.forEach((boxes, i) => shift(boxes, 25 + (height - heights[i]) / 2));
    const titles = [`Providers (${neighbours.providers.length})`, '', `Users (${neighbours.users.length})`];
    const element = Draw.svg('svg', {
      viewBox: `-2 0 ${width + 4} ${height + 30}`, role: 'group', 'aria-label': `Neighbourhood: ${summary(neighbours)}`
    },
      Draw.svg('defs', {}, marker('arrow', 'arrow'), marker('arrow-required', 'arrow required')),
      ...titles.map((title, i) => Draw.svg('text', { class: 'column', x: i * (columnWidth + GAP) + columnWidth / 2, y: 14 }, title)),
      ...[].concat(...columns).map(boxElement), ...arrows(middle, left.boxes, right.boxes));
    return { element, left: left.left + right.left };
  }

  function legend() {
    const kinds = [['skeleton', 'skeleton: provides'], ['stub', 'stub: uses'], ['required', 'required: not there yet'], ['dead', 'process is dead']];
    return Draw.html('ul', { class: 'legend' }, ...kinds.map(([kind, label]) => Draw.html('li', {},
      Draw.html('span', { class: `swatch ${kind}`, 'aria-hidden': 'true' }), label)));
  }

  function show(container, thing, isAllWanted) {
    if (!thing || (thing.kind !== 'interface' && thing.kind !== 'process')) {
      container.replaceChildren();
      return '';
    }
    width = Math.max(LEAST_WIDTH, container.clientWidth - 4);
    columnWidth = (width - 2 * GAP) / 3;
    const neighbours = neighboursOf(thing);
    const { element, left } = picture(thing, neighbours, isAllWanted);
    container.replaceChildren(element, legend());
    if (left > 0) {
      const button = Draw.html('button', { type: 'button' }, `Draw ${Draw.count(left, 'more process', 'more processes')}`);
      button.addEventListener('click', () => show(container, thing, true));
      container.append(button);
    }
    return summary(neighbours);
  }

  return { show };
})();
