// The page around a shown document: it follows the state that the server sends, and reports what the user does.
'use strict';

const viewer = Array.from(crypto.getRandomValues(new Uint8Array(8)), (byte) => byte.toString(16)).join('');
const view = document.getElementById('view');
const box = document.getElementById('message');
const kErrorsUntilLost = 5;

let state = null;    // what the server sent last
let asked = 0;       // the revision that the frame was told to load
let loaded = null;   // {page, revision} of the document in the frame
let kept = null;     // what the user sees of a document that is about to be loaded afresh
let filled = {page: 0, settings: {}};  // which settings by the script the fields show
let errors = 0;
let answered = 0;    // the message box that the user has answered here

// --- Reports, one after the other, so that they arrive in the order of what was done.

let reports = Promise.resolve();
function report(what) {
  const body = JSON.stringify(what);
  reports = reports.then(() => fetch('report', {method: 'POST', body})).catch(() => {});
}

// --- Fields. Those of one name together show a macro: checked boxes and chosen options with commas between them.

function fieldsOf(page) {
  return Array.from(page.querySelectorAll('input[name], select[name], textarea[name]'))
      .filter((field) => field.name && !['submit', 'button', 'image', 'reset', 'file'].includes(field.type));
}

const isBox = (field) => field.type === 'checkbox' || field.type === 'radio';
const withCrLf = (text) => text.replace(/\r\n|\r|\n/g, '\r\n');

function valuesOf(field) {
  if (isBox(field)) return field.checked ? [field.value] : [];
  if (field.localName === 'select') return Array.from(field.selectedOptions, (option) => option.value);
  return [withCrLf(field.value)];
}

function entered(page) {
  const values = new Map();
  for (const field of fieldsOf(page)) {
    values.set(field.name, [...(values.get(field.name) || []), ...valuesOf(field)]);
  }
  return Array.from(values, ([name, parts]) => [name, parts.join(',')]);
}

function fill(page, name, value) {
  const parts = value.split(',');
  for (const field of fieldsOf(page)) {
    if (field.name !== name) continue;
    if (isBox(field)) {
      field.checked = parts.includes(field.value);
    } else if (field.localName === 'select') {
      const chosen = field.multiple ? parts : [value];
      for (const option of field.options) option.selected = chosen.includes(option.value);
    } else if (withCrLf(field.value) !== withCrLf(value)) {
      field.value = value;
    }
  }
}

// A new page shows all macros. On one that the user has seen already, what was typed stays, unless the script has set
// the macro since.
function fillFields() {
  if (!loaded || loaded.page !== state.page) return;
  const page = view.contentDocument;
  const known = filled.page === loaded.page;
  const settings = {};
  for (const [name, macro] of Object.entries(state.macros)) {
    if (!known || macro.setting > (filled.settings[name] || 0)) fill(page, name, macro.value);
    settings[name] = macro.setting;
  }
  filled = {page: loaded.page, settings};
}

// --- The user's doings in the document.

// A form's own names are hidden by fields of the same name.
const attributeOf = (element, name) => Element.prototype.getAttribute.call(element, name);

function onClick(event) {
  const link = event.target.closest('a[href], area[href]');
  if (!link) return;
  const target = link.getAttribute('href').trim();
  if (target.startsWith('#')) return;
  event.preventDefault();
  if (/^karst:/i.test(target)) {
    if (event.type !== 'click') return;
    report({kind: 'link', page: loaded.page, target, entered: entered(view.contentDocument)});
  } else if (/^(https?|mailto):/i.test(link.href)) {
    window.open(link.href, '_blank', 'noopener,noreferrer');
  }
}

function onSubmit(event) {
  event.preventDefault();
  const form = event.target;
  const sender = event.submitter;
  const target = ((sender && attributeOf(sender, 'formaction')) || attributeOf(form, 'action') || '').trim();
  if (!/^karst:/i.test(target)) return;
  const query = Array.from(new FormData(form, sender)).filter(([, value]) => typeof value === 'string')
      .map(([name, value]) => [name, withCrLf(value)]);
  report({kind: 'form', page: loaded.page, target, query, entered: entered(view.contentDocument)});
}

function onEnter(event) {
  const name = event.target.name;
  const values = entered(view.contentDocument).filter((pair) => pair[0] === name);
  if (values.length) report({kind: 'enter', page: loaded.page, entered: values});
}

// --- The document.

function keep() {
  const page = view.contentDocument;
  if (!page) return;
  const focus = page.activeElement;
  kept = {
    page: loaded.page, values: entered(page), x: view.contentWindow.scrollX, y: view.contentWindow.scrollY,
    focus: focus && focus.name, from: focus && focus.selectionStart, to: focus && focus.selectionEnd,
  };
}

function restore(page) {
  for (const [name, value] of kept.values) fill(page, name, value);
  view.contentWindow.scrollTo(kept.x, kept.y);
  const focus = kept.focus && fieldsOf(page).find((field) => field.name === kept.focus);
  if (!focus) return;
  focus.focus();
  if (kept.from != null && focus.setSelectionRange && !isBox(focus)) focus.setSelectionRange(kept.from, kept.to);
}

function onLoad() {
  const where = view.contentWindow.location;
  const numbers = /^\?(\d+)\.(\d+)$/.exec(where.search);
  if (!where.pathname.endsWith('/page/') || !numbers) return;
  const page = view.contentDocument;
  loaded = {page: Number(numbers[1]), revision: Number(numbers[2])};
  for (const kind of ['click', 'auxclick']) page.addEventListener(kind, onClick, true);
  page.addEventListener('submit', onSubmit, true);
  page.addEventListener('input', onEnter, true);
  page.addEventListener('change', onEnter, true);
  if (kept && kept.page === loaded.page) restore(page);
  else view.contentWindow.focus();
  kept = null;
  fillFields();
  printIfWanted();
  document.body.dataset.page = String(loaded.page);
}

function follow() {
  if (asked === state.revision) return fillFields();
  asked = state.revision;
  if (loaded && loaded.page === state.page) keep();
  view.contentWindow.location.replace(new URL(`page/?${state.page}.${state.revision}`, location.href));
}

function printIfWanted() {
  if (!state.print || !loaded || loaded.revision !== state.revision) return;
  state.print = false;
  report({kind: 'printed'});
  view.contentWindow.print();
}

// --- The window around it.

function place() {
  const frame = document.getElementById('frame');
  frame.classList.toggle('placed', Boolean(state.place));
  if (!state.place) return;
  const [left, top, width, height] = state.place;
  if (window.opener || !window.menubar.visible) {
    window.moveTo(left, top);
    window.resizeTo(width + window.outerWidth - window.innerWidth, height + window.outerHeight - window.innerHeight);
  }
  const pixels = (number) => `${Math.max(number, 0)}px`;
  Object.assign(frame.style, {left: pixels(left), top: pixels(top), width: pixels(width), height: pixels(height)});
}

function showMessage() {
  document.getElementById('text').textContent = state.text;
  if (state.message && state.message !== answered && !box.open) box.showModal();
  if (!state.message && box.open) box.close();
}

function showEnd(reason) {
  if (box.open) box.close();
  document.getElementById('reason').textContent = reason;
  document.getElementById('end').hidden = false;
}

function onState(event) {
  errors = 0;
  const before = state;
  state = JSON.parse(event.data);
  document.title = state.title;
  document.getElementById('title').textContent = state.title;
  if (!before || String(before.place) !== String(state.place)) place();
  if (state.end) return onEnd();
  if (state.page) follow();
  printIfWanted();
  showMessage();
}

function onEnd() {
  events.close();
  showEnd(state.end === 'over' ? '脚本已结束' : '窗口已关闭');
  if (state.end === 'closed') window.close();
}

box.addEventListener('cancel', (event) => event.preventDefault());
document.getElementById('ok').addEventListener('click', () => {
  answered = state.message;
  report({kind: 'answer', message: answered});
  box.close();
});
view.addEventListener('load', onLoad);

let events = null;
function listen() {
  events = new EventSource(`events?viewer=${viewer}`);
  events.onmessage = onState;
  events.onerror = () => {
    if (events.readyState !== EventSource.CLOSED && ++errors < kErrorsUntilLost) return;
    events.close();
    showEnd('与脚本的连接已断开');
  };
}

// A page that leaves says so; one that comes back out of the browser's cache listens again.
window.addEventListener('pagehide', () => {
  events.close();
  navigator.sendBeacon('report', JSON.stringify({kind: 'leave', viewer}));
});
window.addEventListener('pageshow', (event) => event.persisted && listen());
listen();
