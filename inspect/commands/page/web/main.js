// Puts the page together, and follows its address.

/* global Address, Bus, Details, Draw, Neighbourhood, SlotMap, TableView, Tables */
(() => {
  const FIRST_OF_KIND = 3;
  const MORE_OF_KIND = 100;
  const { byId, html, name } = Draw;
  const filter = byId('filter');
  const chosenTitle = byId('chosen-title');
  let openView = '';
  let chosen = null;

  function showHead() {
    document.title = `Bus ${Bus.channel}`;
    byId('channel').append(name(Bus.channel));
    const taken = Bus.taken ? html('time', { datetime: Bus.taken.toISOString() }, Bus.taken.toISOString().replace('T', ' ').replace('Z', ' UTC')) : '?';
    const rows = [
      ['Taken', taken], ['Boot', name(Bus.boot || 'not to be known')], ['By', `zunic_inspect ${Bus.version}`],
      ['Holds', [Draw.count(Bus.interfaces.length, 'interface'), Draw.count(Bus.linkCount, 'link'), Draw.count(Bus.processes.length, 'process', 'processes'),
        `${Draw.number(Bus.slots.count)} of ${Draw.count(Bus.slots.size, 'slot')} in use`].join(', ')]
    ];
    byId('facts').append(...rows.map(([title, content]) => html('div', {}, html('dt', {}, title), html('dd', {}, content))));
  }

  function findingItem(finding) {
    const label = html('span', {}, finding.label, ...finding.name ? [' ', name(finding.name)] : []);
    const subject = finding.subject ? Address.link(html('a', {}, label), () => Address.inItsView(finding.subject)) : label;
    return html('li', {}, Tables.badge(finding.severity, finding.severity), ' ', html('code', {}, finding.code), ' ', subject,
      html('span', { class: 'evidence' }, ' ', name(finding.evidence)), html('span', { class: 'advice' }, ' ', finding.advice));
  }

  // Of very many findings of one kind the first ones, and a button for those that follow.
  function kindItems(findings) {
    const items = findings.slice(0, FIRST_OF_KIND).map(findingItem);
    const rest = findings.slice(FIRST_OF_KIND);
    if (rest.length > 0) {
      const button = html('button', { type: 'button' });
      const item = html('li', {}, button);
      const label = () => { button.textContent = `Show ${Math.min(MORE_OF_KIND, rest.length)} of ${Draw.number(rest.length)} more ${findings[0].code}`; };
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
    Bus.findings.forEach(finding => {
      const kind = `${finding.severity} ${finding.code}`;
      (kinds.get(kind) || kinds.set(kind, []).get(kind)).push(finding);
    });
    byId('findings-title').textContent = Bus.findings.length === 0 ? 'No findings' : Draw.count(Bus.findings.length, 'finding');
    byId('findings').querySelector('ul').append(...[].concat(...Array.from(kinds.values(), kindItems)));
  }

  function showNavigation() {
    document.querySelector('nav').append(...Address.VIEWS.map(view => Address.link(
      html('a', { 'data-view': view }, Tables.of[view].title, ' ', html('span', { class: 'total' }, Draw.number(Tables.of[view].count))),
      () => Address.ofView(view))));
  }

  function markView(view) {
    document.querySelectorAll('nav a').forEach(link => {
      if (link.dataset.view === view) {
        link.setAttribute('aria-current', 'page');
      } else {
        link.removeAttribute('aria-current');
      }
    });
  }

  function showList() {
    const { view } = Address.current;
    markView(view);
    if (view !== openView) {
      TableView.open(view);
      openView = view;
    }
    filter.value = Address.lists[view].filter;
    TableView.update();
  }

  function showChosen() {
    byId('chosen').dataset.kind = chosen ? chosen.kind : 'none';
    const summary = Neighbourhood.show(byId('picture'), chosen);
    chosenTitle.replaceChildren(name(Details.title(chosen)), ...summary ? [html('span', { class: 'summary' }, summary)] : []);
    Details.show(byId('details'), chosen);
  }

  const showMap = () => SlotMap.show(Address.current.view === 'messages', chosen);

  const isSame = (one, other) => one === other || Boolean(one && other && one.kind === other.kind && one.key === other.key);

  // What the address says of the list has been drawn already when only the thing in it has changed.
  function follow() {
    const before = JSON.stringify([openView, Address.lists[openView]]);
    Address.read();
    if (before !== JSON.stringify([Address.current.view, Address.lists[Address.current.view]])) {
      showList();
    }
    const thing = Bus.thing(Address.current.at);
    if (!isSame(thing, chosen) || byId('details').childElementCount === 0) {
      chosen = thing;
      showChosen();
    }
    showMap();
    TableView.mark(chosen);
  }

  filter.addEventListener('input', () => {
    Address.lists[Address.current.view].filter = filter.value;
    Address.writeSoon();
    TableView.update();
  });

  // Whoever chooses by the keyboard goes on where the answer stands; Escape leads back to the row.
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
      TableView.focusChosen();
    }
  });
  document.addEventListener('keydown', event => {
    if (event.key === '/' && !event.target.closest('input')) {
      event.preventDefault();
      filter.focus();
    }
  });
  byId('skip').addEventListener('click', event => {
    event.preventDefault();
    chosenTitle.focus();
  });
  window.addEventListener('pagehide', Address.writePending);
  window.addEventListener('beforeprint', TableView.drawForPrint);
  window.addEventListener('afterprint', () => {
    TableView.update();
    TableView.mark(chosen);
  });
  window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', showMap);
  window.addEventListener('resize', showMap);
  SlotMap.onChoose(thing => {
    Address.writePending();
    location.hash = Address.inItsView(thing);
  });

  showHead();
  showFindings();
  showNavigation();
  follow();
})();
