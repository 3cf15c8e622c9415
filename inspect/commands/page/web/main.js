// Puts the page together, and follows its address.

import {
  currentAddress, inItsView, link, ofView, readAddress, VIEWS, writeAddressSoon, writePendingAddress
} from './address.js';
import { addTo, busState, findings, interfaces, linkCount, processes, slots, storageSize, thingAt } from './bus.js';
import { showDetails, titleOf } from './details.js';
import { badge, byId, countText, html, nameElement, numberText } from './drawing.js';
import { shown } from './names.js';
import { showNeighbourhood } from './neighbourhood.js';
import { SlotMap } from './slot_map.js';
import { TableView } from './table_view.js';
import { tables } from './tables.js';

const FIRST_OF_KIND = 3;
const MORE_OF_KIND = 100;
const filterInput = byId('filter');
const chosenTitle = byId('chosen-title');
const tableView = new TableView();
const slotMap = new SlotMap(slot => {
  writePendingAddress();
  location.hash = inItsView(slot);
});
let chosen = null;

function showHead() {
  const channel = shown(busState.channel);
  document.title = `Bus ${channel}`;
  byId('channel').append(nameElement(channel));
  const time = new Date(busState.taken_at);
  const taken = Number.isNaN(time.getTime()) ? '?' : html('time', { datetime: time.toISOString() },
    time.toISOString().replace('T', ' ').replace('Z', ' UTC'));
  const rows = [
    ['Taken', taken], ['Machine', nameElement(shown(busState.host || '') || 'unknown')],
    ['Boot id', nameElement(shown(busState.boot_id) || 'unknown')],
    ['Saved by', `zunic_inspect ${shown(busState.program_version)}`],
    ['Contents', [countText(interfaces.length, 'interface'), countText(linkCount, 'link'), countText(processes.length, 'process', 'processes'),
      `${numberText(slots.length)} of ${countText(storageSize, 'slot')} in use`].join(', ')]
  ];
  byId('facts').append(...rows.map(([title, content]) => html('div', {}, html('dt', {}, title), html('dd', {}, content))));
}

function findingItem({ severity, code, subject, label, name, evidence, advice }) {
  const about = html('span', {}, label, ...name ? [' ', nameElement(name)] : []);
  return html('li', {}, badge(severity, severity), ' ', html('code', {}, code), ' ',
    subject ? link(html('a', {}, about), () => inItsView(subject)) : about,
    html('span', { class: 'evidence' }, ' ', nameElement(evidence)), html('span', { class: 'advice' }, ' ', advice));
}

// Of very many findings of one kind the first ones, and a button for those that follow.
function kindItems(some) {
  const items = some.slice(0, FIRST_OF_KIND).map(findingItem);
  const rest = some.slice(FIRST_OF_KIND);
  if (rest.length > 0) {
    const button = html('button', { type: 'button' });
    const item = html('li', {}, button);
    const label = () => { button.textContent = `Show ${Math.min(MORE_OF_KIND, rest.length)} of ${numberText(rest.length)} more ${some[0].code}`; };
    button.addEventListener('click', () => {
      item.before(...rest.splice(0, MORE_OF_KIND).map(findingItem));
      label();
      item.hidden = rest.length === 0;
    });
    label();
    items.push(item);
  }
  return items;
}

function showFindings() {
  const kinds = new Map();
  findings.forEach(finding => addTo(kinds, `${finding.severity} ${finding.code}`, finding));
  byId('findings-title').textContent = findings.length === 0 ? 'No findings' : countText(findings.length, 'finding');
  byId('findings').querySelector('ul').append(...[].concat(...Array.from(kinds.values(), kindItems)));
}

function showNavigation() {
  document.querySelector('nav').append(...VIEWS.map(view => link(
    html('a', { 'data-view': view }, tables[view].title, ' ', html('span', { class: 'total' }, numberText(tables[view].rows.length))),
    () => ofView(view))));
}

function markView(view) {
  document.querySelectorAll('nav a').forEach(element => {
    if (element.dataset.view === view) {
      element.setAttribute('aria-current', 'page');
    } else {
      element.removeAttribute('aria-current');
    }
  });
}

function showList() {
  const { view, list } = currentAddress();
  markView(view);
  filterInput.value = list.filter;
  tableView.update();
}

function showChosen() {
  byId('chosen').dataset.kind = chosen ? chosen.kind : 'none';
  const summary = showNeighbourhood(byId('picture'), chosen);
  chosenTitle.replaceChildren(nameElement(titleOf(chosen)), ...summary ? [html('span', { class: 'summary' }, summary)] : []);
  showDetails(byId('details'), chosen);
}

const showMap = () => slotMap.show(currentAddress().view === 'messages', chosen);

// The list is drawn already when only the thing in the address has changed.
function follow() {
  const listText = () => JSON.stringify([currentAddress().view, currentAddress().list]);
  const before = tableView.view && listText();
  readAddress();
  if (before !== listText()) {
    showList();
  }
  const thing = thingAt(currentAddress().at);
  if (thing !== chosen || byId('details').childElementCount === 0) {
    chosen = thing;
    showChosen();
  }
  showMap();
  tableView.mark(chosen);
}

filterInput.addEventListener('input', () => {
  currentAddress().list.filter = filterInput.value;
  writeAddressSoon();
  tableView.update();
});

// Choosing by the keyboard moves the focus to the answer; Escape leads back to the row.
let followsByKey = false;
document.addEventListener('click', event => { followsByKey = event.detail === 0 && event.target.closest('a') !== null && event.isTrusted; }, true);
window.addEventListener('hashchange', () => {
  follow();
  if (followsByKey && chosen) {
    chosenTitle.focus();
  }
  followsByKey = false;
});
byId('chosen').addEventListener('keydown', event => {
  if (event.key === 'Escape') {
    tableView.focusChosen();
  }
});
document.addEventListener('keydown', event => {
  if (event.key === '/' && !event.target.closest('input')) {
    event.preventDefault();
    filterInput.focus();
  }
});
byId('skip').addEventListener('click', event => {
  event.preventDefault();
  chosenTitle.focus();
});
window.addEventListener('pagehide', writePendingAddress);
window.addEventListener('beforeprint', () => tableView.drawForPrint());
window.addEventListener('afterprint', () => {
  tableView.update();
  tableView.mark(chosen);
});
window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', showMap);
window.addEventListener('resize', showMap);

showHead();
showFindings();
showNavigation();
follow();
