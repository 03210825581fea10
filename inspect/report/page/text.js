// Texts for people: numbers, sizes, times, names. Nothing here touches the page.

const grouped = new Intl.NumberFormat('en-US');
const oneDigit = new Intl.NumberFormat('en-US', {maximumFractionDigits: 1});
const absent = '\u2013';

// Characters that are invisible, reorder a line or break it are shown by their number: a name must not
// be able to pretend to be another.
const unshowable = new RegExp(
    '[\\u0000-\\u001f\\u007f-\\u009f\\u00ad\\u061c\\u200b-\\u200f\\u2028-\\u202e\\u2060-\\u2069\\ufeff\\ufff9-\\ufffb]',
    'g');

function visible(text) {
  return String(text).replace(unshowable, (one) => '\\u' + one.charCodeAt(0).toString(16).padStart(4, '0'));
}

// Integers that a double cannot hold arrive as texts of digits (see parseDocument).
function numberOf(value) {
  if (typeof value === 'number' && Number.isFinite(value)) return value;
  if (typeof value === 'string' && /^-?\d{16,20}$/.test(value)) return Number(value);
  return null;
}

function count(value) {
  if (typeof value === 'string' && numberOf(value) !== null) return grouped.format(BigInt(value));
  const number = numberOf(value);
  return number === null ? absent : grouped.format(number);
}

function plural(value, one, many = one + 's') {
  return `${count(value)} ${value === 1 ? one : many}`;
}

function shortSize(bytes) {
  const units = ['bytes', 'KiB', 'MiB', 'GiB', 'TiB', 'PiB', 'EiB'];
  let scaled = bytes;
  let unit = 0;
  while (scaled >= 1024 && unit + 1 < units.length) {
    scaled /= 1024;
    ++unit;
  }
  return unit === 0 ? plural(bytes, 'byte') : `${oneDigit.format(scaled)} ${units[unit]}`;
}

// A share that is not the whole never reads as 100 %, nor one that is something as 0 %.
function percent(share, whole) {
  if (!(whole > 0)) return absent;
  const value = (100 * share) / whole;
  if (value > 0 && value < 0.1) return '<\u202f0.1\u202f%';
  if (value < 100 && value > 99.9) return '>\u202f99.9\u202f%';
  return `${oneDigit.format(value)}\u202f%`;
}

function hex(offset) {
  return '0x' + offset.toString(16);
}

function byteSpan(start, length) {
  if (length === 1) return `byte ${count(start)}`;
  return `bytes ${count(start)}\u2013${count(start + Math.max(length, 1) - 1)}`;
}

function isTime(text) {
  return typeof text === 'string' && /^\d{4,}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z$/.test(text);
}

function timeText(text) {
  return isTime(text) ? `${text.slice(0, 10)} ${text.slice(11, 19)} UTC` : visible(text);
}

// "part_stream_length" reads "Part stream length".
function label(member) {
  const acronyms = {
    id: 'ID',
    jt: 'JT',
    crc32: 'CRC-32',
    xxh32: 'XXH32',
    adler32: 'Adler-32',
    sha256: 'SHA-256',
    vr: 'VR',
    om: 'OM'
  };
  const words = visible(member).split('_').map((word) => acronyms[word] || word);
  const text = words.join(' ').replace('base64', '(Base64 of the exact bytes)');
  return text.charAt(0).toUpperCase() + text.slice(1);
}

function isObject(value) {
  return value !== null && typeof value === 'object' && !Array.isArray(value);
}

function listOf(value) {
  return Array.isArray(value) ? value : [];
}

function objectOf(value) {
  return isObject(value) ? value : {};
}
