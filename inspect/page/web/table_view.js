// Shows one table: filters and sorts all of its rows, and draws the first ones.

/* global Address, Draw, Filter, Tables */
/* exported TableView */
const TableView = (() => {
  const FIRST_ROWS = 100;
  const MORE_ROWS = 1000;

  const section = Draw.byId('list');
  const head = section.querySelector('thead');
  const body = section.querySelector('tbody');
  const scroll = section.querySelector('.scroll');
  const more = Draw.byId('more');

  let view = '';
  let table = null;
  let rows = [];
  let limit = FIRST_ROWS;
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

  function draw() {
    body.replaceChildren(...rows.slice(0, limit).map(rowElement));
    tell();
  }

  function drawMore(count) {
    body.append(...rows.slice(limit, limit + count).map(rowElement));
    limit += count;
    tell();
  }

  function tell() {
    const drawn = Math.min(limit, rows.length);
    const all = Draw.count(table.count, table.one, table.many);
    const found = rows.length === table.count ? all : `${Draw.number(rows.length)} of ${all}`;
    Draw.byId('count').textContent = drawn < rows.length ? `${found}, the first ${Draw.number(drawn)} shown` : found;
    more.hidden = drawn === rows.length;
    more.textContent = `Show ${Draw.number(Math.min(MORE_ROWS, rows.length - drawn))} more`;
  }

  function update() {
    rows = Filter.apply(table, Tables.sorted(table, list().sort), list().filter);
    limit = FIRST_ROWS;
    showSort();
    draw();
  }

  function open(name) {
    view = name;
    table = Tables.of[name];
    chosenRow = -1;
    head.replaceChildren(Draw.html('tr', {}, ...table.visible.map(headCell)));
    Draw.byId('list-title').textContent = table.title;
    Draw.byId('hint').textContent = table.hint;
    scroll.scrollTop = 0;
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
    if (place >= limit) {
      drawMore(Math.ceil((place + 1 - limit) / MORE_ROWS) * MORE_ROWS);
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
    const first = limit;
    drawMore(MORE_ROWS);
    body.rows[first].querySelector('a').focus();
  });

  return { open, update, mark, focusChosen, drawMore: () => drawMore(MORE_ROWS) };
})();
