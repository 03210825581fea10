// The page of one part: verdict, map, findings, sections.

const verdicts = {
  sound: {
    title: 'Sound',
    sign: '\u2713',
    meaning: 'Everything that could be checked agrees, and nothing looks out of order.'
  },
  suspect: {
    title: 'Suspect',
    sign: '?',
    meaning: 'Something is out of order, but no checksum decides whether it is damage.'
  },
  damaged: {title: 'Damaged', sign: '\u2715', meaning: 'Bytes of this file are not those that were written.'},
  unreadable: {
    title: 'Unreadable',
    sign: '!',
    meaning: 'The file could not be examined, so nothing is known of its content.'
  },
  not_a_part: {title: 'Not a part', sign: '\u2205', meaning: 'This file does not hold a part.'},
};

function verdictOf(report) {
  if (Object.hasOwn(verdicts, report.verdict)) return {key: report.verdict, ...verdicts[report.verdict]};
  return {key: 'suspect', title: visible(report.verdict ?? 'No verdict'), sign: '?', meaning: ''};
}

function fileName(report) {
  return visible(objectOf(report.file).name ?? 'a file without a name');
}

// How far the verdict reaches, in a sentence.
function reachText(report, sums, total) {
  if (!(total > 0)) return null;
  const verified = numberOf(sums.verified) ?? 0;
  const bare = total - verified - (numberOf(sums.failed) ?? 0);
  if (bare <= 0 && report.verdict === 'sound')
    return `All ${plural(total, 'byte')} stand under checksums that agree.`;
  return `${percent(verified, total)} of the bytes stand under a checksum that agrees. ` +
      `${percent(bare, total)} stand under none: a change there could go unnoticed.`;
}

function coverage(report) {
  const bytes = objectOf(report.bytes);
  const sums = objectOf(bytes.by_protection);
  const total = numberOf(bytes.total);
  if (!(total > 0) || Object.keys(sums).length === 0) return null;
  const share = (one) => (numberOf(sums[one.name]) ?? 0) / total;
  return element(
      'section', {class: 'coverage', 'aria-labelledby': 'coverage-title'},
      element('h2', {id: 'coverage-title', text: 'How far this reaches'}),
      element('p', {text: reachText(report, sums, total)}),
      element(
          'div', {class: 'coverage-bar', 'aria-hidden': 'true'},
          protections.map((one) => bar(share(one), `by-${one.name}`))),
      element(
          'ul', {class: 'legend'},
          protections.filter((one) => share(one) > 0)
              .map(
                  (one) => element(
                      'li', {}, element('span', {class: `swatch by-${one.name}`, 'aria-hidden': 'true'}),
                      element(
                          'span', {class: 'legend-text'}, element('strong', {text: one.title}),
                          ` ${one.meaning}`),
                      element('span', {
                        class: 'legend-number',
                        text: `${percent(share(one), 1)} \u00b7 ${shortSize(numberOf(sums[one.name]))}`
                      })))));
}

function countsText(findings) {
  const counts = {error: 0, warning: 0, note: 0};
  for (const finding of findings.list) counts[severityOf(finding)] += 1;
  const texts = Object.entries(counts)
                    .filter(([, number]) => number > 0)
                    .map(([severity, number]) => plural(number, severities[severity].toLowerCase()));
  return texts.length > 0 ? texts.join(', ') : 'no findings';
}

// The errors that nothing else explains: what the reader should look at first.
function firstCauses(findings) {
  const first = findings.list.map((finding, at) => ({finding, at}))
                    .filter(({finding, at}) => severityOf(finding) !== 'note' && findings.causes[at] < 0)
                    .slice(0, 3);
  if (first.length === 0) return null;
  return element('ul', {class: 'causes'}, first.map(({finding, at}) => {
    const text = visible(finding.message ?? finding.rule ?? '');
    return element(
        'li', {},
        findings.stretches[at] === null ?
            element(
                'button', {type: 'button', class: 'reference', text, onclick: () => findings.goToCard(at)}) :
            findings.link(at, text));
  }));
}

function heading(report, findings) {
  const verdict = verdictOf(report);
  const size = numberOf(objectOf(report.file).size);
  const looks = report.looks_like ? `It looks like ${visible(report.looks_like)}.` : '';
  const release = releaseText(report.release);
  const facts =
      [release, size === null ? null : shortSize(size), countsText(findings)].filter((one) => one !== null);
  return element(
      'header', {class: 'masthead'}, element('p', {class: 'kicker', text: 'Part report'}),
      element('h1', {id: 'title', tabindex: '-1'}, element('bdi', {text: fileName(report)})),
      element('p', {class: 'masthead-facts', text: facts.join(' \u00b7 ')}),
      element(
          'section', {class: `verdict ${verdict.key}`, 'aria-labelledby': 'verdict-title'},
          element('span', {class: 'sign', 'aria-hidden': 'true', text: verdict.sign}),
          element(
              'div', {}, element('h2', {id: 'verdict-title', text: verdict.title}),
              element('p', {text: `${verdict.meaning} ${looks}`}), firstCauses(findings))));
}

function sectionElement(section, level = 'h2') {
  return element(
      'section', {id: section.id, 'aria-labelledby': `${section.id}-title`, class: 'section'},
      element(
          level, {id: `${section.id}-title`}, section.title,
          section.count > 0 && element('span', {class: 'count', text: ` ${count(section.count)}`})),
      section.build());
}

function navigation(sections) {
  return element(
      'nav', {class: 'contents', 'aria-label': 'Sections of this part'},
      element(
          'ul', {},
          sections.map(
              (section) => element(
                  'li', {},
                  element(
                      'a', {
                        href: `#${section.id}`,
                        onclick: (event) => {
                          event.preventDefault();
                          goTo(document.getElementById(section.id));
                        }
                      },
                      section.title,
                      section.count > 0 &&
                          element('span', {class: 'count', text: ` ${count(section.count)}`}))))));
}

class PartView {
  constructor(report, route) {
    const ranges = new RangeMap(report);
    const findings = new Findings(report, ranges.size, route);
    this.context = {
      report,
      ranges,
      findings,
      map: null,
      showPlace: (start, length) => this.showPlace(start, length, null)
    };
    const sections = [
      ...(ranges.size > 0 && (ranges.known || findings.placed().length > 0) ?
              [{id: 'map', title: 'Map of the bytes', build: () => mapSection(this.context)}] :
              []),
      ...(findings.list.length > 0 ? [{
        id: 'findings',
        title: 'Findings',
        count: findings.list.length,
        build: () => findings.section()
      }] :
                                     []),
      ...sectionsOf(this.context)
    ];
    const program = objectOf(report.program);
    this.title = `${verdictOf(report).title}: ${fileName(report)}`;
    this.content = element(
        'div', {class: 'part'}, navigation(sections),
        element(
            'main', {id: 'main'}, heading(report, findings), coverage(report),
            sections.map((section) => sectionElement(section)), element('footer', {
              class: 'colophon',
              text:
                  [program.name, program.version, report.schema].filter(Boolean).map(visible).join(' \u00b7 ')
            })));
  }

  showPlace(start, length, about) {
    const {map} = this.context;
    if (map === null) return;
    map.findingShown = about === null ? undefined : about + 1;
    map.zoomTo(start, length);
    map.select(start, start + Math.max(1, length), about);
    document.getElementById('map').scrollIntoView({block: 'start'});
    map.detail.focus({preventScroll: true});
  }

  showFinding(number) {
    const {findings} = this.context;
    const stretch = findings.stretches[number - 1];
    if (stretch === undefined) return;
    if (stretch === null)
      findings.goToCard(number - 1);
    else
      this.showPlace(stretch.start, stretch.length, number - 1);
  }

  redraw() {
    if (this.context.map !== null) this.context.map.redraw();
  }
}
