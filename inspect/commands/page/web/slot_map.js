// The message storage as a map: a small square for each slot, coloured by its state, with a message's chain marked.

/* global Bus, Draw */
/* exported SlotMap */
const SlotMap = (() => {
  const { slots } = Bus;

  const sideFor = squareCount => squareCount <= 1024 ? 14 : squareCount <= 4096 ? 9 : squareCount <= 16384 ? 6 : 4;

  const MOST_SQUARES = 1 << 18; // a damaged bus may claim any number of slots

  const container = Draw.byId('map');
  const count = Math.min(slots.size, slots.readable, MOST_SQUARES);
  const side = sideFor(count);
  let canvas = null;
  let tip = null;
  let columns = 0;
  let painted = null; // the map without marks, and what it was painted for
  let choose = () => {};

  const colorOf = name => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

  // "#rrggbb" as a pixel in memory.
  function pixel(color) {
    const bytes = new Uint8ClampedArray([1, 3, 5].map(i => parseInt(color.slice(i, i + 2), 16)).concat(255));
    return new Uint32Array(bytes.buffer)[0];
  }

  function totalsText() {
    return Bus.SLOT_STATES.map((state, i) => `${Draw.number(slots.totals[i])} ${state}`).join(', ');
  }

  function legend() {
    return Draw.html('ul', { class: 'legend' }, ...Bus.SLOT_STATES.map((state, i) => Draw.html('li', {},
      Draw.html('span', { class: `swatch slot-${state}`, 'aria-hidden': 'true' }), `${Draw.number(slots.totals[i])} ${state}`)));
  }

  function paint(marked) {
    const rows = Math.ceil(count / columns);
    const ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(columns * side * ratio);
    canvas.height = Math.round(rows * side * ratio);
    const context = canvas.getContext('2d');
    context.drawImage(picture(), 0, 0, canvas.width, canvas.height);
    context.scale(ratio, ratio);
    mark(context, marked);
  }

  // The map without marks; painted anew when its shape or its colours have changed.
  function picture() {
    const key = `${columns} ${colorOf('--slot-free')}`;
    if (!painted || painted.key !== key) {
      painted = { key, squares: squares(Math.ceil(count / columns)) };
    }
    return painted.squares;
  }

  // One square has side x side pixels; the last ones are the gap to the next, where there is room for one.
  function squares(rows) {
    const colors = Bus.SLOT_STATES.map(state => pixel(colorOf(`--slot-${state}`)));
    const inner = side > 2 ? side - 1 : side;
    const image = new ImageData(columns * side, rows * side);
    const pixels = new Uint32Array(image.data.buffer);
    const draw = (index, color) => {
      const left = index % columns * side;
      const top = Math.floor(index / columns) * side;
      for (let y = top; y < top + inner; ++y) {
        pixels.fill(color, y * image.width + left, y * image.width + left + inner);
      }
    };
    for (let index = 0; index < count; ++index) {
      draw(index, colors[0]);
    }
    slots.index.forEach((index, place) => index < count && draw(index, colors[slots.state[place]]));
    const result = document.createElement('canvas');
    result.width = image.width;
    result.height = image.height;
    result.getContext('2d').putImageData(image, 0, 0);
    return result;
  }

  const centre = index => [index % columns * side + side / 2, Math.floor(index / columns) * side + side / 2];

  // The slots of a chain, joined by a line in its order.
  function mark(context, indexes) {
    if (indexes.length === 0) {
      return;
    }
    context.strokeStyle = colorOf('--mark');
    context.lineWidth = 2;
    context.beginPath();
    indexes.forEach((index, i) => context[i === 0 ? 'moveTo' : 'lineTo'](...centre(index)));
    context.stroke();
    const reach = Math.max(side, 6);
    indexes.forEach(index => {
      const [x, y] = centre(index);
      context.strokeRect(x - reach / 2, y - reach / 2, reach, reach);
    });
  }

  function bringIntoSight(index) {
    const squaresBox = canvas.parentElement;
    const y = centre(index)[1];
    if (y < squaresBox.scrollTop || y > squaresBox.scrollTop + squaresBox.clientHeight) {
      squaresBox.scrollTop = y - squaresBox.clientHeight / 2;
    }
  }

  // The message's slot and those of its data entries; for a data entry, those of its message.
  function chainOf(thing) {
    const message = thing.kind === 'slot' && slots.stateWord(thing.place) === 'data' ? slots.messageWith(slots.index[thing.place])
      : thing.place;
    if (message === undefined) {
      return [slots.index[thing.place]];
    }
    const chain = slots.chain(message);
    return [slots.index[message]].concat(chain ? chain.entries : []);
  }

  function indexAt(event) {
    const box = canvas.getBoundingClientRect();
    const column = Math.floor((event.clientX - box.left) / box.width * columns);
    const row = Math.floor((event.clientY - box.top) / side);
    const index = row * columns + column;
    return column >= 0 && column < columns && index >= 0 && index < count ? index : -1;
  }

  function describe(index) {
    const place = slots.at(index);
    if (place === undefined) {
      return index < 0 ? '' : `slot ${index}: free`;
    }
    const sender = slots.senderOf(place);
    return `slot ${index}: ${slots.stateWord(place)}, from ${slots.sender[place]}${sender ? ' ' + sender.name : ''}`;
  }

  const columnsThatFit = () => Math.max(1, Math.min(count, Math.floor((container.clientWidth || 640) / side)));

  function build() {
    columns = columnsThatFit();
    canvas = Draw.html('canvas', { role: 'img', 'aria-label': `Map of the message slots: ${totalsText()}. The table has the same.` });
    tip = Draw.html('p', { class: 'tip', 'aria-hidden': 'true' }, '');
    canvas.addEventListener('mousemove', event => { tip.textContent = describe(indexAt(event)); });
    canvas.addEventListener('mouseleave', () => { tip.textContent = ''; });
    canvas.addEventListener('click', event => {
      const thing = Bus.slotThing(indexAt(event));
      if (thing) {
        choose(thing);
      }
    });
    container.replaceChildren(legend(), Draw.html('div', { class: 'squares' }, canvas), tip);
    canvas.style.width = `${columns * side}px`;
    canvas.style.height = `${Math.ceil(count / columns) * side}px`;
  }

  function show(isWanted, thing) {
    container.hidden = !isWanted || count === 0;
    if (!container.hidden) {
      if (columnsThatFit() !== columns) {
        build();
      }
      const marked = thing && thing.kind === 'slot' ? chainOf(thing) : [];
      paint(marked);
      marked.slice(0, 1).forEach(bringIntoSight);
    }
  }

  return { show, chainOf, onChoose: callback => { choose = callback; } };
})();
