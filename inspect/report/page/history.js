// The saves of a part as a timeline: a plot over the years, and a list with the newest first.

const plotColumns = 90;

function savesOf(report) {
  const saves = listOf(report.filing_history).filter(isObject);
  return saves.map((save) => ({ save, at: isTime(save.saved_at) ? Date.parse(save.saved_at) : NaN }))
    .sort((left, right) => (Number.isNaN(right.at) ? -1 : right.at) - (Number.isNaN(left.at) ? -1 : left.at));
}

function svg(tag, attributes, text) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  if (text !== undefined) made.textContent = text;
  return made;
}

function yearMarks(first, last) {
  const from = new Date(first).getUTCFullYear();
  const to = new Date(last).getUTCFullYear() + 1;
  const step = Math.max(1, Math.ceil((to - from) / 8));
  const marks = [];
  for (let year = from; year <= to; year += step) marks.push({ year, at: Date.UTC(year, 0, 1) });
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
  const made = svg("svg", { viewBox: "0 0 900 92", class: "history-plot", role: "img", "aria-label":
    `${plural(times.length, "save")} between ${new Date(first).toISOString().slice(0, 10)} and ${new Date(last).toISOString().slice(0, 10)}` });
  const columns = columnsOf(times, first, last);
  const most = columns.reduce((left, right) => Math.max(left, right), 1);
  const width = 900 / plotColumns;
  made.append(svg("line", { x1: 0, x2: 900, y1: 66.5, y2: 66.5, class: "history-axis" }));
  columns.forEach((number, at) => {
    if (number === 0) return;
    const height = Math.max(width - 2, (58 * number) / Math.max(most, 4));
    made.append(svg("rect", { x: at * width + 1, y: 66 - height, width: width - 2, height, rx: 2, class: "history-bar" }));
  });
  for (const mark of yearMarks(first, last)) {
    const x = ((mark.at - first) / (last - first)) * 900;
    made.append(svg("line", { x1: x, x2: x, y1: 66, y2: 73, class: "history-axis" }));
    made.append(svg("text", { x: Math.max(16, Math.min(884, x)), y: 88, "text-anchor": "middle", class: "history-year" }, String(mark.year)));
  }
  return made;
}

function saveItem({ save }) {
  const rest = Object.entries(save).filter(([member, value]) =>
    !["saved_at", "user", "program_version"].includes(member) && value !== null && isScalar(value));
  return element("li", {},
    element("span", { class: "save-time" }, timeElement(save.saved_at)),
    element("span", { class: "save-text" },
      element("strong", {}, name(save.user ?? "unknown user")),
      save.program_version ? [" with ", name(save.program_version)] : null,
      element("span", { class: "quiet" }, rest.map(([member, value]) =>
        [` \u00b7 ${label(member).toLowerCase()} `, scalar(value)]).flat())));
}

function historySection(report) {
  const saves = savesOf(report);
  const list = element("ol", { class: "timeline" });
  const pages = pager(saves.length, "save", (from, to) => {
    list.replaceChildren(...saves.slice(from, to).map(saveItem));
  });
  return element("div", {}, historyPlot(saves), list, pages.buttons);
}
