// Findings: where each lies, what explains it, and its text.

const severities = {
  error: 'Error',
  warning: 'Warning',
  note: 'Note'
};

function severityOf(finding) {
  return Object.hasOwn(severities, finding.severity) ? finding.severity : 'note';
}

function placesBy(member, rows) {
  const places = new Map();
  for (const row of listOf(rows).filter(isObject)) {
    if (!places.has(row[member])) places.set(row[member], row.where);
  }
  return places;
}

// Where each finding lies in the file, if need be by the partition or the stream that it names; null where
// that is not known.
function stretchesOf(findings, report, size) {
  const partitions = placesBy('id', report.partitions);
  const streams = placesBy('path', report.streams);
  return findings.map((finding) => {
    const where = objectOf(finding.where);
    const known = [where, partitions.get(where.partition), streams.get(where.stream)].map(objectOf);
    const place = known.find((one) => numberOf(one.file_offset) !== null);
    const start = place === undefined ? -1 : numberOf(place.file_offset);
    if (start < 0 || size === 0) return null;
    const shown = Math.min(start, size - 1);  // what points behind the end is shown at the end
    return {start: shown, length: Math.max(1, Math.min(numberOf(place.length) ?? 1, size - shown))};
  });
}

// A cause is named by its rule, and then is the nearest finding before of that rule or else the first behind,
// or by its number in the list; -1 where there is none.
function causesOf(findings) {
  const first = new Map();
  findings.forEach((finding, at) => {
    if (!first.has(finding.rule)) first.set(finding.rule, at);
  });
  const latest = new Map();
  return findings.map((finding, at) => {
    const cause = isObject(finding.caused_by) ? finding.caused_by.rule : finding.caused_by;
    const found = Number.isInteger(cause) ? cause : latest.get(cause) ?? first.get(cause) ?? -1;
    latest.set(finding.rule, at);
    const known = cause !== null && cause !== undefined && found !== at;
    return known && found >= 0 && found < findings.length ? found : -1;
  });
}

class Findings {
  constructor(report, size, route) {
    this.list = listOf(report.findings).filter(isObject);
    this.route = route;  // what stands before "finding-N" in the address
    this.stretches = stretchesOf(this.list, report, size);
    this.causes = causesOf(this.list);
    this.effects = new Map();
    this.causes.forEach((cause, at) => {
      if (cause < 0) return;
      if (!this.effects.has(cause)) this.effects.set(cause, []);
      this.effects.get(cause).push(at);
    });
  }

  hash(at) {
    return `#${this.route}finding-${at + 1}`;
  }

  placed() {
    return this.list.flatMap((finding, at) => this.stretches[at] === null ? [] : [
      {...this.stretches[at], severity: severityOf(finding), number: at + 1, hash: this.hash(at)}
    ]);
  }

  // Those that touch these bytes, in their order; no more than a few are told.
  touching(start, end, most) {
    const found = [];
    for (let at = 0; at < this.list.length && found.length < most; ++at) {
      const one = this.stretches[at];
      if (one !== null && one.start < end && one.start + one.length > start) found.push(at);
    }
    return found;
  }

  link(at, text) {
    return element('a', {href: this.hash(at), class: 'place-link', text, onclick: followRoute});
  }

  // The finding's place in the list is told apart from its place in the map, which the address names.
  reference(at) {
    return element('button', {
      type: 'button',
      class: 'reference',
      text: `finding ${count(at + 1)}`,
      onclick: () => this.goToCard(at)
    });
  }

  goToCard(at) {
    this.pages.turnTo(at);
    const card = document.getElementById(`finding-card-${at + 1}`);
    if (card !== null) goTo(card);
  }

  references(list) {
    const shown = list.slice(0, 12).flatMap(
        (at, order) => (order > 0 ? [', ', this.reference(at)] : [this.reference(at)]));
    return list.length > 12 ? [...shown, ` and ${count(list.length - 12)} more`] : shown;
  }

  card(finding, at) {
    const severity = severityOf(finding);
    const term = (title, ...content) =>
        element('div', {}, element('dt', {text: title}), element('dd', {}, ...content));
    const value = (member) => shortFacts(finding[member]);
    const given = (member) =>
        finding[member] !== null && finding[member] !== undefined && finding[member] !== '';
    const place = placeText(finding.where);
    const known =
        ['rule', 'severity', 'where', 'message', 'found', 'expected', 'caused_by', 'effect', 'advice'];
    const more = Object.keys(finding).filter((member) => !known.includes(member) && given(member));
    return element(
        'li', {class: `finding ${severity}`, id: `finding-card-${at + 1}`, value: at + 1},
        element(
            'p', {class: 'finding-head'},
            element('span', {class: `badge ${severity}`, text: severities[severity]}), ' ',
            element('span', {class: 'finding-number', text: `${count(at + 1)}`}), ' ',
            code(finding.rule ?? '')),
        element('h3', {}, name(finding.message ?? finding.rule ?? '')),
        element(
            'dl', {class: 'terms'},
            place !== '' &&
                term(
                    'Where', name(place),
                    this.stretches[at] !== null && [' ', this.link(at, 'Show in the map')]),
            given('found') && term('Found', ...value('found')),
            given('expected') && term('Expected', ...value('expected')),
            given('effect') && term('Effect', value('effect')),
            this.causes[at] >= 0 &&
                term(
                    'Follows from', this.reference(this.causes[at]), ' ',
                    code(this.list[this.causes[at]].rule ?? '')),
            this.causes[at] < 0 && given('caused_by') && term('Caused by', ...value('caused_by')),
            this.effects.has(at) && term('Explains', this.references(this.effects.get(at))),
            given('advice') &&
                element(
                    'div', {class: 'advice'}, element('dt', {text: 'What to do'}),
                    element('dd', {}, name(finding.advice))),
            more.map((member) => term(label(member), ...value(member)))));
  }

  section() {
    const list = element('ol', {class: 'findings'});
    this.pages = pager(this.list.length, 'finding', (from, to) => {
      list.replaceChildren(...this.list.slice(from, to).map((finding, at) => this.card(finding, from + at)));
    });
    return element('div', {}, list, this.pages.buttons);
  }
}
