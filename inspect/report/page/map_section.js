// The map with what belongs to it: its colours explained, what is selected in words, and the same as a table.

// What lies at these bytes, in words; `about` is the finding that led here, if one did.
function describeBytes(context, start, end, about) {
  const {ranges, findings} = context;
  const at = ranges.indexAt(start);
  const inside = at < ranges.ranges.length && ranges.starts[at] <= start;
  const title = about === null ? name(inside ? ownerText(ranges.ranges[at].owner) : 'not in the map') :
                                 [`Finding ${count(about + 1)}: `, name(findings.list[about].message ?? '')];
  const share = percent(end - start, ranges.size);
  const touching = findings.touching(start, end, 12);
  return [
    element('h3', {}, title),
    element(
        'p', {}, `${byteSpan(start, end - start)} (${plural(end - start, 'byte')}, ${share} of the file)`,
        element('span', {class: 'quiet', text: ` \u00b7 ${hex(start)}`})),
    inside && about !== null &&
        element('p', {}, 'In ', name(ownerText(ranges.ranges[at].owner)), ends(ranges, at, end)),
    inside && describeRange(ranges, at),
    touching.length > 0 && element('p', {}, 'See ', findings.references(touching), '.'),
  ].filter((one) => one !== false);
}

function describeRange(ranges, at) {
  const range = ranges.ranges[at];
  const protection = protections[ranges.protections[at]];
  const texts = [` ${protection.title}: ${protection.meaning}.`];
  if (range.stream)
    texts.push(`In ${placeText({stream: range.stream, stream_offset: range.stream_offset})}.`);
  if (range.fill) texts.push(`Filled with 0x${visible(range.fill)}.`);
  return element(
      'p', {}, element('span', {class: `swatch by-${protection.name}`, 'aria-hidden': 'true'}),
      name(texts.join(' ')));
}

// Read out when it changes.
function selectionPanel(context) {
  const panel = element(
      'div', {class: 'selection', role: 'status', 'aria-live': 'polite'},
      element(
          'p', {class: 'quiet', text: 'Select a range in the map, or a finding, to read what lies there.'}));
  context.describe = (start, end, about) =>
      panel.replaceChildren(...describeBytes(context, start, end, about));
  return panel;
}

function ends(ranges, at, end) {
  if (ranges.ends[at] >= end) return '.';
  const last = Math.min(ranges.ends.length - 1, ranges.indexAt(end - 1));
  return ` to ${ownerText(ranges.ranges[last].owner)}.`;
}

function mapTable(context) {
  const {ranges} = context;
  return lazyDetails(
      `The map as a table (${plural(ranges.ranges.length, 'range')})`,
      () => table(
          'Every range of the file in its order', 'range',
          [
            {
              title: 'From byte',
              number: true,
              cell: (range) => placeButton(context, {file_offset: range.offset, length: range.length})
            },
            {title: 'Length', number: true, cell: (range) => count(range.length)},
            {title: 'Belongs to', cell: (range) => name(ownerText(range.owner))},
            {title: 'Protection', cell: (range, at) => protections[ranges.protections[at]].title},
            {title: 'In the stream at', number: true, cell: (range) => count(range.stream_offset)},
          ],
          ranges.ranges));
}

function mapLegend(ranges) {
  const sums = ranges.sumsByKind();
  return element(
      'ul', {class: 'map-legend', 'aria-label': 'Colours of the map'},
      kinds.map(
          (kind, at) => sums[at] > 0 &&
              element('li', {}, element('span', {class: `swatch kind-${kind.name}`, 'aria-hidden': 'true'}),
                      `${kind.title} `,
                      element('span', {class: 'quiet', text: percent(sums[at], ranges.size)}))),
      ranges.protections.includes(protectionFailed) &&
          element(
              'li', {}, element('span', {class: 'swatch by-failed', 'aria-hidden': 'true'}),
              'hatched: failed'),
      element('li', {}, element('span', {class: 'swatch pale', 'aria-hidden': 'true'}), 'pale: no checksum'));
}

function mapSection(context) {
  const {ranges, findings} = context;
  const map =
      new ByteMap(ranges, findings.placed(), (start, end, about) => context.describe(start, end, about));
  context.map = map;
  return element(
      'div', {class: 'map'}, ranges.known ? null : element('p', {
        class: 'quiet',
        text: 'This document was made without the map; the places of the findings are shown.'
      }),
      element('div', {class: 'strips'}, map.overview, map.detail, map.tip), map.buttons(),
      ranges.known ? mapLegend(ranges) : null, selectionPanel(context),
      ranges.known ? mapTable(context) : null);
}
