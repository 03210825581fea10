// Who owns each byte of a file: the document's map as flat arrays, so that a hundred thousand ranges are gone
// through in a few milliseconds.

const protections = [
  {name: 'verified', title: 'Verified', meaning: 'under a checksum that agrees'},
  {name: 'failed', title: 'Failed', meaning: 'under a checksum that does not agree'},
  {name: 'decoded', title: 'Read', meaning: 'understood and plausible, but no checksum guards it'},
  {name: 'opaque', title: 'Opaque', meaning: 'not interpreted, and no checksum guards it'},
  {name: 'unclaimed', title: 'Unclaimed', meaning: 'belongs to nothing that is known'},
];
const protectionFailed = 1;
const protectionUnclaimed = 4;

const kinds = [
  {name: 'container', title: 'Container'},
  {name: 'part', title: 'Part header and index'},
  {name: 'objects', title: 'Object data'},
  {name: 'solids', title: 'Solids'},
  {name: 'jt', title: 'JT'},
  {name: 'streams', title: 'Other streams'},
  {name: 'unclaimed', title: 'Unclaimed'},
];
const kindUnclaimed = 6;

function partitionOf(owner) {
  const found = /^partition (-?\d+)/.exec(owner || '');
  return found ? Number(found[1]) : null;
}

function kindOf(range, solids) {
  const owner = range.owner;
  if (typeof owner !== 'string' || owner === '' || range.protection === 'unclaimed') return kindUnclaimed;
  const partition = partitionOf(owner);
  if (partition !== null) return solids.has(partition) ? 3 : 2;
  if (owner.startsWith('part.')) return 1;
  if (/(^|[ /.])(Display)?JT\b/.test(owner)) return 4;
  return owner.startsWith('stream ') ? 5 : 0;
}

// "partition 10.data" reads "partition 10 - data".
function ownerText(owner) {
  if (typeof owner !== 'string' || owner === '') return 'unclaimed bytes';
  if (owner.startsWith('stream ')) return visible(owner);
  return visible(owner).replace('.', ' \u00b7 ').replaceAll('_', ' ');
}

function fileSizeOf(report, ranges) {
  const last = ranges.length > 0 ? ranges[ranges.length - 1] : null;
  const sizes = [
    objectOf(report.file).size, objectOf(report.bytes).total,
    last === null ? null : numberOf(last.offset) + numberOf(last.length)
  ];
  return Math.max(0, ...sizes.map(numberOf).filter((size) => size !== null));
}

class RangeMap {
  constructor(report) {
    const listed = listOf(objectOf(report.bytes).map);
    this.known = listed.length > 0;
    this.ranges = listed.filter(
        (range) => isObject(range) && numberOf(range.offset) !== null && numberOf(range.length) > 0);
    if (this.ranges.some((range, at) => at > 0 && range.offset < this.ranges[at - 1].offset)) {
      this.ranges.sort((left, right) => left.offset - right.offset);
    }
    this.size = fileSizeOf(report, this.ranges);
    const solids = new Set(
        listOf(report.partitions).filter((one) => isObject(one) && isObject(one.solid)).map((one) => one.id));
    const many = this.ranges.length;
    this.starts = new Float64Array(many);
    this.ends = new Float64Array(many);
    this.kinds = new Uint8Array(many);
    this.protections = new Uint8Array(many);
    this.ranges.forEach((range, at) => {
      this.starts[at] = range.offset;
      this.ends[at] = range.offset + range.length;
      this.kinds[at] = kindOf(range, solids);
      this.protections[at] = Math.max(0, protections.findIndex((one) => one.name === range.protection));
    });
  }

  // The range that holds this byte, or the next one behind it; the number of ranges when there is none.
  indexAt(byte) {
    let low = 0;
    let high = this.ends.length;
    while (low < high) {
      const middle = (low + high) >>> 1;
      if (this.ends[middle] > byte)
        high = middle;
      else
        low = middle + 1;
    }
    return low;
  }

  // Bytes by protection of each partition, by its id.
  sumsByPartition() {
    const sums = new Map();
    this.ranges.forEach((range, at) => {
      const partition = partitionOf(range.owner);
      if (partition === null) return;
      if (!sums.has(partition)) sums.set(partition, new Array(protections.length).fill(0));
      sums.get(partition)[this.protections[at]] += range.length;
    });
    return sums;
  }

  sumsByKind() {
    const sums = new Array(kinds.length).fill(0);
    for (let at = 0; at < this.kinds.length; ++at) sums[this.kinds[at]] += this.ends[at] - this.starts[at];
    return sums;
  }
}
