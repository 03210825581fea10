// The sections of a part below its map and findings. Each is {id, title, count, build}; those without
// anything to show are left out.

// A place that leads into the map when there is one.
function placeButton(context, where, text) {
  const place = objectOf(where);
  const start = numberOf(place.file_offset);
  if (start === null) return name(text ?? (placeText(where) || absent));
  const shown = text ?? count(start);
  if (context.map === null) return shown;
  return element('button', {
    type: 'button',
    class: 'reference',
    text: shown,
    title: `Show ${placeText({file_offset: start, length: place.length})} in the map`,
    onclick: () => context.showPlace(start, numberOf(place.length) ?? 1)
  });
}

function termList(terms) {
  return element(
      'dl', {class: 'facts'},
      terms.filter(([, value]) => value !== null && value !== undefined && value !== '')
          .map(
              ([title, ...values]) =>
                  element('div', {}, element('dt', {text: title}), element('dd', {}, ...values))));
}

function releaseText(release) {
  const one = objectOf(release);
  if (!one.name && numberOf(one.number) === null) return null;
  const number = numberOf(one.number) === null ? '' : ` (${count(one.number)})`;
  return visible(one.name ?? 'unknown') + number + (one.development ? ', in development' : '') +
      (one.known === false ? ', not known to this program' : '');
}

function lastSave(report) {
  const newest = savesOf(report)[0];
  if (newest === undefined || Number.isNaN(newest.at)) return [null];
  return [
    timeElement(newest.save.saved_at), newest.save.user ? [' by ', name(newest.save.user)] : null
  ].flat();
}

function summarySection(report) {
  const file = objectOf(report.file);
  const header = objectOf(report.header);
  const text = (value) => (typeof value === 'string' && value !== '' ? scalar(value) : null);
  const size = numberOf(file.size);
  return element(
      'div', {}, termList([
        ['Description', text(header.description)],
        ['Customer area', text(header.customer_area)],
        ['Release', releaseText(report.release)],
        ['Last saved', ...lastSave(report)],
        ['Opens from', text(objectOf(report.compatibility).earliest_release)],
        ['Machine', text(header.machine_name)],
        ['Units', text(header.units)],
        ['Save mode', text(header.save_mode)],
        ['Byte order', text(header.byte_order)],
        ['Brepsolid version', text(header.brepsolid_version)],
        ['Unique part identifier', text(header.unique_part_identifier)],
        ['Marks', listOf(header.marks).length > 0 ? fact('marks', header.marks, 0) : null],
        ['Container', text(objectOf(report.container).kind)],
        ['File size', size === null ? null : `${shortSize(size)} (${plural(file.size, 'byte')})`],
        ['File modified', text(file.modified)],
        ['SHA-256', file.sha256 ? code(file.sha256) : null],
      ]),
      Object.keys(header).length > 0 && lazyDetails('All facts of the header', () => facts(header)));
}

function streamsSection(context, streams) {
  const most = streams.reduce((one, row) => Math.max(one, numberOf(objectOf(row.where).length) ?? 0), 1);
  return table(
      'Streams of the container', 'stream',
      [
        {title: 'Path', cell: (row) => name(row.path ?? absent)},
        {title: 'Size', class: 'sized', cell: (row) => sizeCell(numberOf(objectOf(row.where).length), most)},
        {title: 'From byte', number: true, cell: (row) => placeButton(context, row.where)},
        {title: 'Index', cell: (row) => name(row.index ?? absent)},
        {
          title: 'State',
          cell: (row) => row.beyond_end_of_file ?
              element('span', {class: 'badge error', text: 'beyond the end of the file'}) :
              row.framed ? 'compressed (LZ4)' :
                           'plain'
        },
      ],
      streams);
}

function sizeCell(length, most) {
  if (length === null) return absent;
  return [
    element('span', {class: 'sizebar', 'aria-hidden': 'true'}, bar(length / most, 'sizebar-fill')),
    element('span', {class: 'sizetext', text: shortSize(length)})
  ];
}

function checkState(sums, length) {
  if (sums === undefined) return null;
  const [verified, failed] = sums;
  if (failed > 0) return element('span', {class: 'badge error', text: 'checksum failed'});
  if (verified === 0) return element('span', {class: 'quiet', text: 'no checksum'});
  return element('span', {
    class: 'badge good',
    text: verified >= length * 0.9 ? 'verified' : `${percent(verified, length)} verified`
  });
}

function partitionItem(context, partition, most, sums) {
  const length = numberOf(objectOf(partition.where).length) ?? 0;
  const total = sums === undefined ? 0 : sums.reduce((one, other) => one + other, 0);
  const parts = sums === undefined ?
      [] :
      sums.map((bytes, at) => bar(bytes / Math.max(1, total), `by-${protections[at].name}`));
  const fill = bar(length / most, 'sizebar-fill split');
  fill.append(...parts);
  const marker = partition.marker && partition.marker !== 'sound' ?
      element('span', {class: 'badge error', text: `marker ${visible(partition.marker)}`}) :
      null;
  const summary = element(
      'span', {class: 'partition-row'},
      element('span', {class: 'partition-id', text: visible(partition.id ?? absent)}),
      element(
          'span', {class: 'partition-name'}, name(partition.type_name ?? `type ${count(partition.type)}`)),
      element('span', {class: 'sizebar', 'aria-hidden': 'true'}, fill),
      element('span', {class: 'sizetext', text: shortSize(length)}),
      element('span', {class: 'partition-state'}, marker, marker && ' ', checkState(sums, length)));
  return element(
      'li', {},
      lazyDetails(
          summary,
          () => element(
              'div', {class: 'partition-body'},
              element(
                  'p', {}, placeButton(context, partition.where, 'Show in the map'), ' ',
                  element('span', {class: 'quiet', text: placeText(partition.where)})),
              facts(partition, ['where']))));
}

function partitionsSection(context, partitions) {
  const most = partitions.reduce((one, row) => Math.max(one, numberOf(objectOf(row.where).length) ?? 0), 1);
  const sums = context.ranges.sumsByPartition();
  const list = element('ol', {class: 'partitions'});
  const pages = pager(partitions.length, 'partition', (from, to) => {
    list.replaceChildren(
        ...partitions.slice(from, to).map((row) => partitionItem(context, row, most, sums.get(row.id))));
  });
  return element('div', {}, list, pages.buttons);
}

function checksumState(check) {
  const one = objectOf(check);
  if (one.matches === true) return element('span', {class: 'badge good', text: 'agrees'});
  if (one.matches === false) return element('span', {class: 'badge error', text: 'does not agree'});
  return absent;
}

function solidsSection(context, partitions) {
  const expanded = (row) => {
    const length = row.solid.expanded_length;
    return numberOf(isObject(length) ? length.computed ?? length.saved : length);
  };
  return table(
      'Solids', 'solid',
      [
        {title: 'Partition', cell: (row) => [visible(row.id ?? absent), ' ', name(row.type_name ?? '')]},
        {title: 'Version', cell: (row) => scalar(row.solid.brepsolid_version ?? null)},
        {title: 'Format', cell: (row) => scalar(row.solid.file_format ?? null)},
        {title: 'Stored', number: true, cell: (row) => count(row.solid.stored_length)},
        {title: 'Expanded', number: true, cell: (row) => count(expanded(row))},
        {title: 'Stored data', cell: (row) => checksumState(row.solid.adler32_stored)},
        {title: 'Expanded data', cell: (row) => checksumState(row.solid.adler32_expanded)},
        {title: 'From byte', number: true, cell: (row) => placeButton(context, row.where)},
      ],
      partitions);
}

function jtSection(context, jt) {
  return element(
      'div', {},
      Object.entries(jt)
          .map(([title, body]) => {
            const bodies = listOf(objectOf(body).bodies).filter(isObject);
            const most = bodies.reduce((one, row) => Math.max(one, numberOf(row.length) ?? 0), 1);
            return [
              element('h3', {}, name(title)), isObject(body) ? facts(body, ['bodies']) : scalar(body),
              bodies.length > 0 &&
                  table(
                      `Bodies of ${visible(title)}`, 'body',
                      [
                        {title: 'Body', cell: (row) => fact('id', row.id ?? null, 0)},
                        {title: 'Size', class: 'sized', cell: (row) => sizeCell(numberOf(row.length), most)},
                        {
                          title: 'From byte',
                          number: true,
                          cell: (row) => placeButton(context, isObject(row.where) ? row.where : row)
                        },
                      ],
                      bodies)
            ].filter((one) => one !== false);
          })
          .flat());
}

function namesSection(names) {
  const shown = names.slice(0, 400);
  return element(
      'div', {},
      element(
          'ul', {class: 'names'},
          shown.map((one) => element('li', {}, code(isObject(one) ? one.name ?? '' : one)))),
      names.length > shown.length &&
          lazyDetails(
              `All ${count(names.length)}`,
              () => table(
                  'Feature toggles', 'toggle',
                  [{title: 'Name', cell: (one) => code(isObject(one) ? one.name ?? '' : one)}], names)));
}

// Members that some section shows; the others are shown as they stand.
const shownMembers = [
  'schema', 'program', 'file', 'verdict', 'counts', 'findings', 'release', 'container', 'streams', 'header',
  'compatibility', 'filing_history', 'partitions', 'jt', 'feature_toggles', 'references', 'bytes'
];

function sectionsOf(context) {
  const {report} = context;
  const rows = (member) => listOf(report[member]).filter(isObject);
  const partitions = rows('partitions');
  const solids = partitions.filter((one) => isObject(one.solid));
  const jt = objectOf(report.jt);
  const rest = Object.keys(report).filter((member) => !shownMembers.includes(member));
  const compatibility = objectOf(report.compatibility);
  return [
    {
      id: 'summary',
      title: 'Summary',
      show: numberOf(objectOf(report.file).size) !== null || isObject(report.header),
      build: () => summarySection(report)
    },
    {
      id: 'history',
      title: 'Filing history',
      count: rows('filing_history').length,
      build: () => historySection(report)
    },
    {
      id: 'partitions',
      title: 'Partitions',
      count: partitions.length,
      build: () => partitionsSection(context, partitions)
    },
    {id: 'solids', title: 'Solids', count: solids.length, build: () => solidsSection(context, solids)},
    {
      id: 'streams',
      title: 'Streams',
      count: rows('streams').length,
      build: () => streamsSection(context, rows('streams'))
    },
    {id: 'jt', title: 'JT', show: Object.keys(jt).length > 0, build: () => jtSection(context, jt)},
    {
      id: 'references',
      title: 'References',
      count: rows('references').length,
      build: () => objectTable('References to other parts', rows('references'))
    },
    {
      id: 'compatibility',
      title: 'Compatibility',
      show: Object.keys(compatibility).length > 0,
      build: () => facts(compatibility)
    },
    {
      id: 'toggles',
      title: 'Feature toggles',
      count: listOf(report.feature_toggles).length,
      build: () => namesSection(listOf(report.feature_toggles))
    },
    {
      id: 'container',
      title: 'Container',
      show: Object.keys(objectOf(report.container)).length > 0,
      build: () => facts(report.container)
    },
    {
      id: 'rest',
      title: 'Other facts',
      show: rest.length > 0,
      build: () => facts(Object.fromEntries(rest.map((member) => [member, report[member]])))
    },
  ].filter((section) => section.show || section.count > 0);
}
