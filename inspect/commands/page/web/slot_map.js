// The message storage as a map: a small square for each slot, coloured by its state, with a message's chain marked.

import { readableSlots, slotAt, slots, slotStates, slotTotals, storageSize } from './bus.js';
import { byId, html, numberText } from './drawing.js';

const MOST_SQUARES = 1 << 18; // a damaged bus may claim any number of slots

const sideFor = squareCount => squareCount <= 1024 ? 14 : squareCount <= 4096 ? 9 : squareCount <= 16384 ? 6 : 4;

const colorOf = name => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

// "#rrggbb" as a pixel in memory.
function pixel(color) {
  const bytes = new Uint8ClampedArray([1, 3, 5].map(i => parseInt(color.slice(i, i + 2), 16)).concat(255));
  return new Uint32Array(bytes.buffer)[0];
}

const totalTexts = () => slotStates.map(state => `${numberText(slotTotals[state])} ${state}`);

const mapLegend = () => html('ul', { class: 'legend' }, ...totalTexts().map((text, i) => html('li', {},
  html('span', { class: `swatch slot-${slotStates[i]}`, 'aria-hidden': 'true' }), text)));

// The indexes of a message's slot and those of its data entries; of a data entry, those of its message.
function chainOf(slot) {
  const message = slot.state === 'data' ? slot.message : slot;
  return message ? [message.index].concat(message.chain ? message.chain.entries : []) : [slot.index];
}

function describe(index) {
  const slot = slotAt(index);
  if (!slot) {
    return index < 0 ? '' : `slot ${index}: free`;
  }
  return `slot ${index}: ${slot.state}, from ${slot.senderId}${slot.sender ? ' ' + slot.sender.name : ''}`;
}

export class SlotMap {
  // Calls choose(slot) when one is clicked on.
  constructor(choose) {
    this.choose = choose;
    this.container = byId('map');
    this.count = Math.min(storageSize, readableSlots, MOST_SQUARES);
    this.side = sideFor(this.count);
    this.columns = 0;
    this.painted = null; // the map without marks, and what it was painted for
  }

  show(isWanted, chosen) {
    this.container.hidden = !isWanted || this.count === 0;
    if (!this.container.hidden) {
      if (this.columnsThatFit() !== this.columns) {
        this.build();
      }
      const marked = chosen && chosen.kind === 'slot' ? chainOf(chosen) : [];
      this.paint(marked);
      marked.slice(0, 1).forEach(index => this.bringIntoSight(index));
    }
  }

  columnsThatFit() {
    return Math.max(1, Math.min(this.count, Math.floor((this.container.clientWidth || 640) / this.side)));
  }

  build() {
    this.columns = this.columnsThatFit();
    this.rows = Math.ceil(this.count / this.columns);
    this.canvas = html('canvas', { role: 'img', 'aria-label': `Map of the message slots: ${totalTexts().join(', ')}. The table lists them.` });
    const tip = html('p', { class: 'tip', 'aria-hidden': 'true' }, '');
    this.canvas.addEventListener('mousemove', event => { tip.textContent = describe(this.indexAt(event)); });
    this.canvas.addEventListener('mouseleave', () => { tip.textContent = ''; });
    this.canvas.addEventListener('click', event => {
      const slot = slotAt(this.indexAt(event));
      if (slot) {
        this.choose(slot);
      }
    });
    this.container.replaceChildren(mapLegend(), html('div', { class: 'squares' }, this.canvas), tip);
    this.canvas.style.width = `${this.columns * this.side}px`;
    this.canvas.style.height = `${this.rows * this.side}px`;
  }

  paint(marked) {
    const { canvas, columns, rows, side } = this;
    const ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(columns * side * ratio);
    canvas.height = Math.round(rows * side * ratio);
    const context = canvas.getContext('2d');
    context.drawImage(this.withoutMarks(), 0, 0, canvas.width, canvas.height);
    context.scale(ratio, ratio);
    this.mark(context, marked);
  }

  // The map without marks; painted again when its shape or its colours have changed.
  withoutMarks() {
    const key = `${this.columns} ${colorOf('--slot-free')}`;
    if (!this.painted || this.painted.key !== key) {
      this.painted = { key, squares: this.squares() };
    }
    return this.painted.squares;
  }

  // One square has side x side pixels; the last ones are the gap to the next, where there is room for one.
  squares() {
    const { columns, count, rows, side } = this;
    const colors = Object.fromEntries(slotStates.map(state => [state, pixel(colorOf(`--slot-${state}`))]));
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
      draw(index, colors.free);
    }
    slots.forEach(slot => slot.index < count && draw(slot.index, colors[slot.state]));
    const result = html('canvas', { width: image.width, height: image.height });
    result.getContext('2d').putImageData(image, 0, 0);
    return result;
  }

  centre(index) {
    const { columns, side } = this;
    return [index % columns * side + side / 2, Math.floor(index / columns) * side + side / 2];
  }

  // The slots of a chain, joined by a line in its order.
  mark(context, indexes) {
    context.strokeStyle = colorOf('--mark');
    context.lineWidth = 2;
    context.beginPath();
    indexes.forEach(index => context.lineTo(...this.centre(index)));
    context.stroke();
    const reach = Math.max(this.side, 6);
    indexes.forEach(index => {
      const [x, y] = this.centre(index);
      context.strokeRect(x - reach / 2, y - reach / 2, reach, reach);
    });
  }

  bringIntoSight(index) {
    const box = this.canvas.parentElement;
    const y = this.centre(index)[1];
    if (y < box.scrollTop || y > box.scrollTop + box.clientHeight) {
      box.scrollTop = y - box.clientHeight / 2;
    }
  }

  // The index of the slot under the mouse, or -1.
  indexAt(event) {
    const box = this.canvas.getBoundingClientRect();
    const column = Math.floor((event.clientX - box.left) / box.width * this.columns);
    const row = Math.floor((event.clientY - box.top) / this.side);
    const index = row * this.columns + column;
    return column >= 0 && column < this.columns && index >= 0 && index < this.count ? index : -1;
  }
}
