// Shows one table: filters and sorts all of its rows, and draws a part of them.

/* global Address, Draw, Filter, Tables */
/* exported TableView */
const TableView = (() => {
  const FIRST_ROWS = 50;
  const MORE_ROWS = 500;
  const MOST_PRINTED = 2000;
  const ROWS_BEFORE = 10; // the chosen one, where the table has to begin further down
  const SAMPLES = 500; // rows that tell how wide the columns have to be
  // In pixels, as in the style.
  const FONT = '13px system-ui, sans-serif';
  const HEAD_FONT = 'bold ' + FONT;
  const PADDING = 16;
  const ARROW = 4;
  const BADGE = 20;
  const WIDEST = 180;
  const LETTER = 6; // more or less

  const section = Draw.byId('list');
  const head = section.querySelector('thead');
  const body = section.querySelector('tbody');
  const scroll = section.querySelector('.scroll');
  const columns = section.querySelector('colgroup');
  const more = Draw.byId('more');
  const before = Draw.byId('before');

  let view = '';
  let table = null;
  let rows = [];
  let first = 0; // the part of them that is drawn
  let last = 0;
  let chosenRow = -1;

  const list = () => Address.lists[view];

  function showSort() {
    const { sort } = list();
    table.visible.forEach((column, i) => {
      const direction = sort === column.key ? 'ascending' : sort === '-' + column.key ? 'descending' : null;
      const cell = head.rows[0].cells[i];
      if (direction) {
        cell.setAttribute('aria-sort', direction);
      } else {
        cell.removeAttribute('aria-sort');
      }
    });
  }

  function sortBy(column) {
    const { sort } = list();
    list().sort = sort === column.key ? '-' + column.key : column.key;
    Address.writeSoon();
    update();
  }

  function headCell(column) {
    const button = Draw.html('button', { type: 'button' }, column.title);
    button.addEventListener('click', () => sortBy(column));
    return Draw.html('th', { scope: 'col', class: column.isNumber ? 'number' : null }, button);
  }

  function cellOf(column, row) {
    const text = column.text(row);
    const content = column.cell ? column.cell(row) : text;
    return Draw.html('td', { class: column.isNumber ? 'number' : null, title: text.length > 24 ? text : null }, content);
  }

  function rowElement(row) {
    const element = Draw.html('tr', { 'aria-current': row === chosenRow ? 'true' : null },
      ...table.visible.map(column => cellOf(column, row)));
    element.dataset.row = row;
    return element;
  }

  // Draws the rows from `from` up to `to`.
  function draw(from, to) {
    first = Math.max(0, from);
    last = Math.min(rows.length, to);
    body.replaceChildren(...rows.slice(first, last).map(rowElement));
    tell();
  }

  function drawMore(count) {
    const to = Math.min(rows.length, last + count);
    body.append(...rows.slice(last, to).map(rowElement));
    last = to;
    tell();
  }

  function drawBefore(count) {
    const from = Math.max(0, first - count);
    body.prepend(...rows.slice(from, first).map(rowElement));
    first = from;
    tell();
  }

  function tell() {
    const all = Draw.count(table.count, table.one, table.many);
    const found = rows.length === table.count ? all : `${Draw.number(rows.length)} of ${all}`;
    const isWhole = last - first === rows.length;
    Draw.byId('count').textContent = isWhole ? found : `${found}, ${Draw.number(first + 1)} to ${Draw.number(last)} shown`;
    more.hidden = last === rows.length;
    more.textContent = `Show ${Draw.number(Math.min(MORE_ROWS, rows.length - last))} more`;
    before.hidden = first === 0;
    before.textContent = `Show ${Draw.number(Math.min(MORE_ROWS, first))} before`;
  }

  function update() {
    rows = Filter.apply(table, Tables.sorted(table, list().sort), list().filter);
    showSort();
    draw(0, FIRST_ROWS);
    scroll.scrollTop = 0;
  }

  // Columns keep their widths whatever is shown of them: nothing jumps while one types, and less is to be laid out.
  function setWidths() {
    const step = Math.max(1, Math.ceil(table.count / SAMPLES));
    const samples = table.rows.filter(row => row % step === 0);
    const widths = table.visible.map(column => {
      const texts = Array.from(new Set(samples.map(column.text)));
      const widest = Math.max(0, ...texts.map(text => text.length * LETTER > WIDEST ? WIDEST : Draw.textWidth(text, FONT)));
      return Math.max(Draw.textWidth(column.title, HEAD_FONT) + ARROW, column.width || 0,
        Math.min(widest + (column.isBadge ? BADGE : 0), WIDEST)) + PADDING;
    });
    columns.replaceChildren(...widths.map(width => {
      const element = Draw.html('col', {});
      element.style.width = `${width}px`;
      return element;
    }));
    columns.parentElement.style.minWidth = `${widths.reduce((sum, width) => sum + width, 0)}px`;
  }

  function open(name) {
    view = name;
    table = Tables.of[name];
    chosenRow = -1;
    head.replaceChildren(Draw.html('tr', {}, ...table.visible.map(headCell)));
    setWidths();
    Draw.byId('list-title').textContent = table.title;
    Draw.byId('hint').textContent = table.hint;
  }

  const elementOf = row => body.querySelector(`tr[data-row="${row}"]`);

  // Scrolls the table, never the page.
  function bringIntoSight(element) {
    const top = element.offsetTop - head.offsetHeight;
    if (top < scroll.scrollTop) {
      scroll.scrollTop = top;
    } else if (element.offsetTop + element.offsetHeight > scroll.scrollTop + scroll.clientHeight) {
      scroll.scrollTop = element.offsetTop + element.offsetHeight - scroll.clientHeight;
    }
  }

  function mark(thing) {
    body.querySelectorAll('[aria-current]').forEach(element => element.removeAttribute('aria-current'));
    chosenRow = thing ? table.rowOf(thing) : -1;
    const place = rows.indexOf(chosenRow);
    if (place >= 0 && (place < first || place >= last)) {
      draw(place - ROWS_BEFORE, place - ROWS_BEFORE + FIRST_ROWS);
    }
    const element = elementOf(chosenRow);
    if (element) {
      element.setAttribute('aria-current', 'true');
      bringIntoSight(element);
    }
  }

  const focusChosen = () => {
    const link = body.querySelector('tr[aria-current] a');
    if (link) {
      link.focus();
    }
  };

  // A click anywhere in a row chooses it.
  body.addEventListener('click', event => {
    const row = event.target.closest('tr');
    if (row && !event.target.closest('a') && String(getSelection()) === '') {
      row.querySelector('a').click();
    }
  });

  body.addEventListener('keydown', event => {
    const step = { ArrowDown: 'nextElementSibling', ArrowUp: 'previousElementSibling' }[event.key];
    const row = step && event.target.closest('tr')[step];
    if (row) {
      event.preventDefault();
      row.querySelector('a').focus();
    }
  });

  more.addEventListener('click', () => {
    const drawn = last - first;
    drawMore(MORE_ROWS);
    body.rows[drawn].querySelector('a').focus();
  });

  before.addEventListener('click', () => {
    drawBefore(MORE_ROWS);
    body.rows[0].querySelector('a').focus();
  });

  // On paper there is no button to press.
  const drawForPrint = () => draw(0, Math.max(MOST_PRINTED, last - first));

  return { open, update, mark, focusChosen, drawForPrint };
})();
