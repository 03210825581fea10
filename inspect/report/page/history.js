// The saves of a part as a timeline: a plot over the years, and a list with the newest first.

const plotColumns = 90;

function savesOf(report) {
  const saves = listOf(report.filing_history).filter(isObject);
  return saves.map((save) => ({save, at: isTime(save.saved_at) ? Date.parse(save.saved_at) : NaN}))
      .sort(
          (left, right) => (Number.isNaN(right.at) ? -1 : right.at) - (Number.isNaN(left.at) ? -1 : left.at));
}

function svg(tag, attributes) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', tag);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  return made;
}

function yearMarks(first, last) {
  const from = new Date(first).getUTCFullYear();
  const to = new Date(last).getUTCFullYear() + 1;
  const step = Math.max(1, Math.ceil((to - from) / 6));
  const marks = [];
  for (let year = from; year <= to; year += step) marks.push({year, at: Date.UTC(year, 0, 1)});
  return marks.filter((mark) => mark.at >= first && mark.at <= last);
}

function columnsOf(times, first, last) {
  const columns = new Array(plotColumns).fill(0);
  for (const time of times) {
    columns[Math.min(plotColumns - 1, Math.floor(((time - first) / (last - first)) * plotColumns))] += 1;
  }
  return columns;
}

function historyPlot(saves) {
  const times = saves.map((one) => one.at).filter((at) => !Number.isNaN(at));
  if (times.length < 2) return null;
  const first = times[times.length - 1];
  const last = times[0];
  if (first === last) return null;
  const day = (time) => new Date(time).toISOString().slice(0, 10);
  const columns = columnsOf(times, first, last);
  const most = columns.reduce((left, right) => Math.max(left, right), 3);
  // The bars are stretched to the width that there is, the years are not.
  const bars =
      svg('svg', {viewBox: `0 0 ${plotColumns} 60`, preserveAspectRatio: 'none', 'aria-hidden': 'true'});
  columns.forEach((number, at) => {
    if (number === 0) return;
    const height = Math.max(8, (58 * number) / most);
    bars.append(svg('rect', {x: at + 0.1, y: 60 - height, width: 0.8, height}));
  });
  const marks = yearMarks(first, last);
  const years = marks.map((mark) => {
    const made = element('span', {text: String(mark.year)});
    made.style.left = `${((mark.at - first) / (last - first)) * 100}%`;
    return made;
  });
  const ends = element(
      'div', {class: 'history-ends'}, element('span', {text: day(first)}),
      element('span', {text: day(last)}));
  return element(
      'div', {
        class: 'history-plot',
        role: 'img',
        'aria-label': `${plural(times.length, 'save')} between ${day(first)} and ${day(last)}`
      },
      bars, marks.length > 1 ? element('div', {class: 'history-years'}, years) : ends);
}

function saveItem({save}) {
  const rest = Object.entries(save).filter(
      ([member, value]) =>
          !['saved_at', 'user', 'program_version'].includes(member) && value !== null && isScalar(value));
  return element(
      'li', {}, element('span', {class: 'save-time'}, timeElement(save.saved_at)),
      element(
          'span', {class: 'save-text'}, element('strong', {}, name(save.user ?? 'unknown user')),
          save.program_version ? [' with ', name(save.program_version)] : null,
          element(
              'span', {class: 'quiet'},
              rest.map(([member,
                         value]) => [` \u00b7 ${label(member).toLowerCase()} `, fact(member, value, 0)])
                  .flat())));
}

function historySection(report) {
  const saves = savesOf(report);
  const list = element('ol', {class: 'timeline'});
  const pages = pager(saves.length, 'save', (from, to) => {
    list.replaceChildren(...saves.slice(from, to).map(saveItem));
  });
  return element('div', {}, historyPlot(saves), list, pages.buttons);
}
