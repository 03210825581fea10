// Several parts: a table of the files with their verdicts, each leading to its part.

const verdictOrder = ['damaged', 'unreadable', 'suspect', 'not_a_part', 'sound'];

// What the table needs of a document; the rest is read again when its part is opened.
function overviewOf(report, number) {
  const bytes = objectOf(report.bytes);
  const verified = numberOf(objectOf(bytes.by_protection).verified);
  const counts = {error: 0, warning: 0, note: 0};
  for (const finding of listOf(report.findings).filter(isObject)) counts[severityOf(finding)] += 1;
  return {
    number,
    name: fileName(report),
    verdict: verdictOf(report),
    release: releaseText(report.release),
    size: numberOf(objectOf(report.file).size),
    counts,
    verified: verified === null || !(numberOf(bytes.total) > 0) ? null : percent(verified, bytes.total)
  };
}

function findingCounts(counts) {
  const texts =
      Object.entries(counts)
          .filter(([, number]) => number > 0)
          .map(
              ([severity, number]) => element(
                  'span',
                  {class: `badge ${severity}`, text: plural(number, severities[severity].toLowerCase())}));
  return texts.length > 0 ? texts.flatMap((one) => [one, ' ']) : absent;
}

class FilesView {
  constructor(files) {
    this.files = files;
    this.verdict = null;
    this.words = '';
    this.order = 'given';
    this.title = `${plural(files.length, 'file')} examined`;
    this.result = element('div', {});
    this.content = element(
        'div', {class: 'part files'},
        element(
            'main', {id: 'main'},
            element(
                'header', {class: 'masthead'}, element('p', {class: 'kicker', text: 'Part report'}),
                element('h1', {id: 'title', tabindex: '-1', text: this.title})),
            this.verdictButtons(), this.search(), this.result));
    this.update();
  }

  verdictButtons() {
    const numbers = new Map();
    for (const file of this.files) numbers.set(file.verdict.key, (numbers.get(file.verdict.key) ?? 0) + 1);
    const button = (key, title, number) => element(
        'button', {
          type: 'button',
          class: `tally ${key ?? 'all'}`,
          'aria-pressed': String(key === this.verdict),
          onclick: (event) => this.choose(key, event.currentTarget),
        },
        element('strong', {text: count(number)}), ' ', title);
    this.tallies = element(
        'div', {class: 'tallies', role: 'group', 'aria-label': 'Files by verdict'},
        button(null, 'all', this.files.length),
        verdictOrder.filter((key) => numbers.has(key))
            .map((key) => button(key, verdicts[key].title.toLowerCase(), numbers.get(key))));
    return this.tallies;
  }

  choose(key, chosen) {
    this.verdict = key;
    for (const button of this.tallies.children)
      button.setAttribute('aria-pressed', String(button === chosen));
    this.update();
  }

  search() {
    const words = freshId();
    const order = freshId();
    return element(
        'form', {class: 'search', role: 'search', onsubmit: (event) => event.preventDefault()},
        element(
            'span', {},
            element(
                'label',
                { for: words, text: 'Name contains'
                }),
            ' ', element('input', {
              id: words,
              type: 'search',
              autocomplete: 'off',
              oninput: (event) => {
                this.words = event.target.value.toLowerCase();
                this.update();
              }
            })),
        element(
            'span', {},
            element(
                'label',
                { for: order, text: 'Order'
                }),
            ' ',
            element(
                'select', {
                  id: order,
                  onchange: (event) => {
                    this.order = event.target.value;
                    this.update();
                  }
                },
                element('option', {value: 'given', text: 'as examined'}),
                element('option', {value: 'worst', text: 'worst first'}),
                element('option', {value: 'size', text: 'largest first'}))));
  }

  chosen() {
    const files = this.files.filter(
        (file) => (this.verdict === null || file.verdict.key === this.verdict) &&
            file.name.toLowerCase().includes(this.words));
    const rank = (file) => verdictOrder.indexOf(file.verdict.key);
    if (this.order === 'worst')
      files.sort((left, right) => rank(left) - rank(right) || right.counts.error - left.counts.error);
    if (this.order === 'size') files.sort((left, right) => (right.size ?? -1) - (left.size ?? -1));
    return files;
  }

  update() {
    const files = this.chosen();
    this.result.replaceChildren(files.length === 0 ? element('p', { class: 'quiet', role: 'status', text: 'No file answers to that.' })
      : table(`${plural(files.length, 'file')}`, 'file', [
        { title: 'Verdict', cell: (file) => element('span', { class: `stamp ${file.verdict.key}`, text: file.verdict.title }) },
        { title: 'File', class: 'file-name', cell: (file) => element('a', { href: `#part-${file.number}`, onclick: followRoute },
          element('bdi', { text: file.name })) },
        { title: 'Release', cell: (file) => file.release ?? absent },
        { title: 'Size', number: true, cell: (file) => (file.size === null ? absent : shortSize(file.size)) },
        { title: 'Verified', number: true, cell: (file) => file.verified ?? absent },
        { title: 'Findings', cell: (file) => findingCounts(file.counts) },
      ], files));
  }

  redraw() {}
}
