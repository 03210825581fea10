// Any value of a document as facts: a list of terms for objects, a table for lists of objects. This is how
// members are shown that the page knows nothing special of.

const deepest = 6;

function scalar(value) {
  if (value === null || value === undefined) return absent;
  if (typeof value === 'boolean') return value ? 'yes' : 'no';
  if (numberOf(value) !== null) return count(value);
  if (isTime(value)) return timeElement(value);
  if (value === '') return element('span', {class: 'quiet', text: 'empty'});
  return /^0x[0-9a-f]+$/.test(value) || /^[0-9a-f]{16,}$/.test(value) ? code(value) : name(value);
}

function isScalar(value) {
  return value === null || typeof value !== 'object';
}

// A place as text: what a finding or a stream says under "where".
function placeText(where) {
  const place = objectOf(where);
  const texts = [];
  const start = numberOf(place.file_offset);
  if (start !== null) {
    const length = numberOf(place.length);
    texts.push(
        length === null ? `from byte ${count(start)}` :
                          `${byteSpan(start, length)} (${plural(length, 'byte')})`);
  }
  if (place.stream) {
    const at = numberOf(place.stream_offset);
    texts.push(`stream ${visible(place.stream)}` + (at === null ? '' : ` at ${count(at)}`));
  }
  if (numberOf(place.partition) !== null) texts.push(`partition ${visible(place.partition)}`);
  if (place.field) texts.push(`field ${visible(place.field)}`);
  return texts.join(' \u00b7 ');
}

function listFact(member, values, depth) {
  if (values.length === 0) return 'none';
  if (values.every(isScalar)) {
    if (values.length <= 8)
      return values.flatMap((value, at) => (at > 0 ? [', ', scalar(value)] : [scalar(value)]));
    const column = {title: label(member), cell: (value) => scalar(value)};
    return lazyDetails(plural(values.length, 'value'), () => table(label(member), 'value', [column], values));
  }
  return lazyDetails(plural(values.length, 'row'), () => objectTable(label(member), values, depth));
}

// Numbers that name something are not counts.
function isName(member) {
  return /(^|_)(id|version|type|number|label|index|digest)$/.test(member);
}

function fact(member, value, depth) {
  if (typeof value === 'number' && isName(member)) return String(value);
  if (isScalar(value)) return scalar(value);
  if (member === 'where') return placeText(value) || absent;
  if (depth >= deepest) return element('code', {text: visible(JSON.stringify(value).slice(0, 1000))});
  return Array.isArray(value) ? listFact(member, value, depth + 1) : facts(value, [], depth + 1);
}

// The members of an object as terms; `skipped` ones are shown elsewhere.
function facts(object, skipped = [], depth = 0) {
  const made = element('dl', {class: depth === 0 ? 'facts' : 'facts nested'});
  for (const [member, value] of Object.entries(objectOf(object))) {
    if (skipped.includes(member)) continue;
    const wide = !isScalar(value) && member !== 'where' && !(Array.isArray(value) && value.every(isScalar));
    made.append(element(
        'div', {class: wide && 'wide'}, element('dt', {text: label(member)}),
        element('dd', {}, fact(member, value, depth))));
  }
  return made;
}

// A value in one line where it fits: "expanded length 81,861 \u00b7 zlib status -5".
function shortFacts(value) {
  if (isScalar(value)) return [scalar(value)];
  const members = Object.entries(value);
  if (Array.isArray(value) || !members.every(([, one]) => isScalar(one))) return [fact('', value, 1)];
  return members.flatMap(
      ([member, one], at) => [`${at > 0 ? ' \u00b7 ' : ''}${label(member).toLowerCase()} `, scalar(one)]);
}

function objectTable(caption, rows, depth = 0) {
  const members = new Set();
  for (const row of rows.slice(0, 1000)) {
    for (const member of Object.keys(objectOf(row))) members.add(member);
  }
  const columns =
      [...members].map((member) => ({
                         title: label(member),
                         number: rows.slice(0, 20).every((row) => typeof objectOf(row)[member] === 'number'),
                         cell: (row) => fact(member, isObject(row) ? row[member] : row, depth + 1),
                       }));
  return table(caption, 'row', columns, rows);
}
