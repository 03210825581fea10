// Reads the documents that the page carries, and shows what the address asks for: "#part-2", "#finding-3",
// "#part-2/finding-3".

// Integers that a double cannot hold are kept as texts of their digits, where the browser gives their source.
function parseDocument(text) {
  try {
    const parsed = /[:[,]\s*-?\d{16,}/.test(text) ?
        JSON.parse(
            text,
            (member, value, context) =>
                (typeof value === 'number' && Number.isInteger(value) && !Number.isSafeInteger(value) &&
                         context !== undefined ?
                     context.source :
                     value)) :
        JSON.parse(text);
    if (isObject(parsed)) return parsed;
  } catch (error) {
    return {
      verdict: 'unreadable',
      findings: [{
        rule: 'page.document',
        severity: 'error',
        message: `a document in this page cannot be read: ${error.message}`
      }]
    };
  }
  return {verdict: 'unreadable', findings: []};
}

const page = document.getElementById('page');
const texts = [...document.querySelectorAll('script[type="application/json"]')];
let files = null;   // the table, with several documents
let shownPart = 0;  // 0: the table
let view = null;

function documentAt(number) {
  return parseDocument(texts[number - 1].textContent);
}

function showView(made) {
  view = made;
  page.replaceChildren(made.content);
  document.title = made.title;
  made.redraw();
}

function showPart(number, report) {
  shownPart = number;
  showView(new PartView(report, texts.length > 1 ? `part-${number}/` : ''));
  if (texts.length > 1) {
    view.content.querySelector('.masthead')
        .prepend(element('a', {href: '#', class: 'back', onclick: followRoute, text: 'All files'}));
  }
}

function showFiles() {
  shownPart = 0;
  if (files === null) files = new FilesView(texts.map((_, at) => overviewOf(documentAt(at + 1), at + 1)));
  showView(files);
}

// Other addresses are left to the browser.
function followAddress(first) {
  const found = /^#?(?:part-(\d+))?\/?(?:finding-(\d+))?$/.exec(window.location.hash);
  if (found === null && !first) return;
  const asked = found !== null && found[1] !== undefined ? Number(found[1]) : 0;
  const part = texts.length === 1 ? 1 : asked <= texts.length ? asked : 0;
  const turned = part !== shownPart || view === null;
  if (turned && part === 0) showFiles();
  if (turned && part > 0) showPart(part, documentAt(part));
  if (turned && !first) {
    window.scrollTo(0, 0);
    document.getElementById('title').focus({preventScroll: true});
  }
  if (part > 0 && found !== null && found[2] !== undefined) view.showFinding(Number(found[2]));
}

// A link to where the address already points leads there all the same.
function followRoute(event) {
  if (event.currentTarget.getAttribute('href') === (window.location.hash || '#')) {
    event.preventDefault();
    followAddress(false);
  }
}

function watchColours() {
  const redraw = () => view.redraw();
  window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redraw);
  // Paper is light whatever the screen is.
  window.addEventListener('beforeprint', () => {
    document.documentElement.dataset.theme = 'light';
    redraw();
  });
  window.addEventListener('afterprint', () => {
    delete document.documentElement.dataset.theme;
    redraw();
  });
}

document.getElementById('skip').addEventListener('click', (event) => {
  event.preventDefault();
  goTo(document.getElementById('main'));
});

if (texts.length === 0) {
  document.getElementById('waiting').textContent = 'This page carries no document.';
} else {
  followAddress(true);
  window.addEventListener('hashchange', () => followAddress(false));
  watchColours();
}
