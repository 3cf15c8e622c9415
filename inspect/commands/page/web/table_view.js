// Shows one table: filters and sorts all of its rows, and draws a part of them.

import { currentAddress, writeAddressSoon } from './address.js';
import { byId, countText, html, numberText, textWidth } from './drawing.js';
import { filtered } from './filter.js';
import { tables } from './tables.js';

const FIRST_ROWS = 50;
const MORE_ROWS = 500;
const MOST_PRINTED = 2000;
const ROWS_BEFORE = 10; // the chosen one, where the table has to begin further down
const SAMPLES = 500; // rows that decide how wide the columns are
// In pixels, as in the style.
const CELL_FONT = '13px system-ui, sans-serif';
const HEAD_FONT = 'bold ' + CELL_FONT;
const PADDING = 16;
const ARROW = 4;
const BADGE = 20;
const WIDEST = 180;
const LETTER = 6; // more or less

function cellElement(column, row) {
  const text = column.text(row);
  return html('td', { class: column.look, title: text.length > 24 ? text : null }, column.cell(row));
}

function columnWidth(column, samples) {
  const texts = Array.from(new Set(samples.map(column.text)));
  const widest = Math.max(0, ...texts.map(text => text.length * LETTER > WIDEST ? WIDEST : textWidth(text, CELL_FONT)));
  return Math.max(textWidth(column.title, HEAD_FONT) + ARROW, column.width,
    Math.min(widest + (column.isBadge ? BADGE : 0), WIDEST)) + PADDING;
}

export class TableView {
  constructor() {
    const section = byId('list');
    this.head = section.querySelector('thead');
    this.body = section.querySelector('tbody');
    this.scroll = section.querySelector('.scroll');
    this.columns = section.querySelector('colgroup');
    this.more = byId('more');
    this.before = byId('before');
    this.view = '';
    this.chosen = null;
    this.body.addEventListener('click', event => this.chooseByClick(event));
    this.body.addEventListener('keydown', event => this.moveByKey(event));
    this.more.addEventListener('click', () => {
      const next = this.last;
      this.draw(this.first, this.last + MORE_ROWS);
      this.focusRow(next);
    });
    this.before.addEventListener('click', () => {
      this.draw(this.first - MORE_ROWS, this.last);
      this.focusRow(this.first);
    });
  }

  // Shows the table of the current address.
  update() {
    const { view, list } = currentAddress();
    if (view !== this.view) {
      this.open(view);
    }
    this.rows = filtered(this.table, this.table.sorted(list.sort), list.filter);
    this.showSort(list.sort);
    this.redraw(0, FIRST_ROWS);
    this.scroll.scrollTop = 0;
  }

  open(view) {
    this.view = view;
    this.table = tables[view];
    this.chosen = null;
    this.head.replaceChildren(html('tr', {}, ...this.table.visible.map(column => this.headCell(column))));
    this.setWidths();
    byId('list-title').textContent = this.table.title;
    byId('hint').textContent = this.table.hint;
  }

  headCell(column) {
    const button = html('button', { type: 'button' }, column.title);
    button.addEventListener('click', () => {
      const { list } = currentAddress();
      list.sort = list.sort === column.key ? '-' + column.key : column.key;
      writeAddressSoon();
      this.update();
    });
    return html('th', { scope: 'col', class: column.look }, button);
  }

  showSort(sort) {
    this.table.visible.forEach(({ key }, i) => {
      const cell = this.head.rows[0].cells[i];
      if (sort === key || sort === '-' + key) {
        cell.setAttribute('aria-sort', sort === key ? 'ascending' : 'descending');
      } else {
        cell.removeAttribute('aria-sort');
      }
    });
  }

  // Columns keep their widths whichever rows are shown: nothing jumps while one types, and layout is faster.
  setWidths() {
    const step = Math.max(1, Math.ceil(this.table.rows.length / SAMPLES));
    const samples = this.table.rows.filter(row => row.place % step === 0);
    const widths = this.table.visible.map(column => columnWidth(column, samples));
    this.columns.replaceChildren(...widths.map(width => {
      const element = html('col', {});
      element.style.width = `${width}px`;
      return element;
    }));
    this.columns.parentElement.style.minWidth = `${widths.reduce((sum, width) => sum + width, 0)}px`;
  }

  elementOf(row) {
    return html('tr', { 'aria-current': row === this.chosen ? 'true' : null },
      ...this.table.visible.map(column => cellElement(column, row)));
  }

  elementsOf(from, to) {
    return this.rows.slice(from, to).map(row => this.elementOf(row));
  }

  // Draws the rows from `from` up to `to`.
  redraw(from, to) {
    this.body.replaceChildren();
    this.first = this.last = Math.max(0, from);
    this.draw(this.first, to);
  }

  // Adds rows to those drawn, so that they begin at `from` and end before `to`.
  draw(from, to) {
    const first = Math.max(0, from);
    const last = Math.min(this.rows.length, to);
    this.body.prepend(...this.elementsOf(first, this.first));
    this.body.append(...this.elementsOf(this.last, last));
    Object.assign(this, { first, last });
    this.showCounts();
  }

  showCounts() {
    const { first, last, rows, table } = this;
    const all = countText(table.rows.length, table.one, table.many);
    const found = rows.length === table.rows.length ? all : `${numberText(rows.length)} of ${all}`;
    const isWhole = last - first === rows.length;
    byId('count').textContent = isWhole ? found : `${found}, ${numberText(first + 1)} to ${numberText(last)} shown`;
    this.more.hidden = last === rows.length;
    this.more.textContent = `Show ${numberText(Math.min(MORE_ROWS, rows.length - last))} more`;
    this.before.hidden = first === 0;
    this.before.textContent = `Show ${numberText(Math.min(MORE_ROWS, first))} before`;
  }

  // Scrolls the table, never the page.
  bringIntoSight(element) {
    const { head, scroll } = this;
    const top = element.offsetTop - head.offsetHeight;
    if (top < scroll.scrollTop) {
      scroll.scrollTop = top;
    } else if (element.offsetTop + element.offsetHeight > scroll.scrollTop + scroll.clientHeight) {
      scroll.scrollTop = element.offsetTop + element.offsetHeight - scroll.clientHeight;
    }
  }

  // Marks the row of the chosen thing, if the table has it.
  mark(chosen) {
    this.body.querySelectorAll('[aria-current]').forEach(element => element.removeAttribute('aria-current'));
    this.chosen = chosen;
    const place = this.rows.indexOf(chosen);
    if (place >= 0 && (place < this.first || place >= this.last)) {
      this.redraw(place - ROWS_BEFORE, place - ROWS_BEFORE + FIRST_ROWS);
    }
    if (place >= 0) {
      const element = this.body.rows[place - this.first];
      element.setAttribute('aria-current', 'true');
      this.bringIntoSight(element);
    }
  }

  focusRow(place) {
    this.body.rows[place - this.first].querySelector('a').focus();
  }

  focusChosen() {
    const chosen = this.body.querySelector('tr[aria-current] a');
    if (chosen) {
      chosen.focus();
    }
  }

  // A click anywhere in a row chooses it.
  chooseByClick(event) {
    const row = event.target.closest('tr');
    if (row && !event.target.closest('a') && String(getSelection()) === '') {
      row.querySelector('a').click();
    }
  }

  moveByKey(event) {
    const step = { ArrowDown: 'nextElementSibling', ArrowUp: 'previousElementSibling' }[event.key];
    const row = step && event.target.closest('tr')[step];
    if (row) {
      event.preventDefault();
      row.querySelector('a').focus();
    }
  }

  // On paper there is no button to press.
  drawForPrint() {
    this.redraw(0, Math.max(MOST_PRINTED, this.last - this.first));
  }
}
