// Making elements. Whatever comes from a document becomes a text node or an attribute of ours, never markup.

function element(name, properties = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (value === undefined || value === null || value === false) continue;
    if (key === 'text')
      made.textContent = value;
    else if (key.startsWith('on'))
      made.addEventListener(key.slice(2), value);
    else
      made.setAttribute(key, value === true ? '' : value);
  }
  made.append(...children.flat().filter((child) => child !== null && child !== undefined && child !== false));
  return made;
}

function code(text) {
  return element('code', {}, element('bdi', {text: visible(text)}));
}

function name(text) {
  return element('bdi', {text: visible(text)});
}

function timeElement(text) {
  if (!isTime(text)) return name(text ?? absent);
  return element('time', {datetime: text, text: timeText(text)});
}

let usedIds = 0;
function freshId() {
  return `e${++usedIds}`;
}

// Moves there without leaving a trace in the address, which belongs to parts and findings.
function goTo(target) {
  if (!target.hasAttribute('tabindex')) target.setAttribute('tabindex', '-1');
  target.scrollIntoView({block: 'start'});
  target.focus({preventScroll: true});
}

// A share of a width, through the object model: a style attribute would be refused.
function bar(share, className) {
  const made = element('span', {class: className});
  made.style.width = `${Math.max(0, Math.min(1, share)) * 100}%`;
  return made;
}

const rowsOfPage = 200;

// The buttons of a list that is shown in pages; `show(from, to)` fills it. Nothing but the rows when one page
// suffices.
function pager(total, what, show) {
  let first = 0;
  const place = element('span', {class: 'pager-place', role: 'status'});
  const turn = (by) => () => turnTo(first + by * rowsOfPage);
  const button = (text, by) => element('button', {type: 'button', text, onclick: turn(by)});
  const back = button('Previous', -1);
  const on = button('Next', 1);
  const bottom = button('Last', Infinity);
  const top = button('First', -Infinity);
  function turnTo(row) {
    const last = Math.max(0, Math.floor((total - 1) / rowsOfPage) * rowsOfPage);
    first = Math.max(0, Math.min(last, Math.floor(row / rowsOfPage) * rowsOfPage));
    const end = Math.min(total, first + rowsOfPage);
    show(first, end);
    place.textContent = `${count(first + 1)}\u2013${count(end)} of ${plural(total, what)}`;
    top.disabled = back.disabled = first === 0;
    bottom.disabled = on.disabled = end === total;
  }
  turnTo(0);
  const buttons = total > rowsOfPage ?
      element('nav', {class: 'pager', 'aria-label': `Pages of ${what}s`}, top, back, place, on, bottom) :
      null;
  return {buttons, turnTo};
}

function tableHead(columns) {
  return element(
      'thead', {role: 'rowgroup'},
      element('tr', {role: 'row'}, columns.map((column) => element('th', {
                                                 scope: 'col',
                                                 role: 'columnheader',
                                                 class: column.number && 'number',
                                                 text: column.title
                                               }))));
}

function tableRow(columns, row, index) {
  return element(
      'tr', {role: 'row'},
      columns.map(
          (column) => element(
              'td',
              {role: 'cell', 'data-title': column.title, class: column.number ? 'number' : column.class},
              element('div', {class: 'cell'}, column.cell(row, index)))));
}

// columns: {title, cell(row, index) -> text or elements, number}. The roles are written out because narrow
// screens show rows as blocks, which would take them away.
function table(caption, what, columns, rows) {
  const body = element('tbody', {role: 'rowgroup'});
  const pages = pager(rows.length, what, (from, to) => {
    body.replaceChildren(...rows.slice(from, to).map((row, at) => tableRow(columns, row, from + at)));
  });
  const made =
      element('table', {role: 'table'}, element('caption', {text: caption}), tableHead(columns), body);
  return element(
      'div', {class: 'listing'},
      element('div', {class: 'scroller', role: 'region', tabindex: '0', 'aria-label': caption}, made),
      pages.buttons);
}

// What is built only when it is opened.
function lazyDetails(summary, build) {
  const made = element('details', {}, element('summary', {}, summary));
  made.addEventListener('toggle', () => {
    if (made.open && made.childElementCount === 1) made.append(build());
  });
  return made;
}
