// Sorts and searches the rows that stand in the page, newest first: as they come, nothing is moved.
'use strict';
(() => {
const byId = id => document.getElementById(id);
const list = byId('list'), search = byId('search'), sort = byId('sort');
const rows = [...list.children].map(element => ({
  element, text: element.textContent.toLowerCase(),
  date: element.dataset.date || '', file: element.dataset.file || '',
  from: element.dataset.from || '', subject: element.dataset.subject || '',
}));
const words = new Intl.Collator(undefined, {numeric: true, sensitivity: 'base'});
const by = key => (a, b) => !a[key] - !b[key] || words.compare(a[key], b[key]) || words.compare(a.file, b.file);
// Dates are ISO 8601: they sort as they are. A row without one comes last either way.
const orders = {
  'date': (a, b) => !a.date - !b.date || (a.date < b.date ? 1 : a.date > b.date ? -1 : by('file')(a, b)),
  'date-up': (a, b) => !a.date - !b.date || (a.date < b.date ? -1 : a.date > b.date ? 1 : by('file')(a, b)),
  'from': by('from'), 'subject': by('subject'), 'file': by('file'),
};
function order() {
  rows.sort(orders[sort.value]);
  list.replaceChildren(...rows.map(row => row.element));
}
function find() {
  const wanted = search.value.toLowerCase().split(/\s+/).filter(Boolean);
  let found = 0;
  for (const row of rows) {
    const hit = wanted.every(word => row.text.includes(word));
    if (row.element.hidden === hit) row.element.hidden = !hit;
    if (hit) found++;
  }
  byId('count').textContent = wanted.length > 0 ? `${found} of ${rows.length} files` : `${rows.length} files`;
}
for (const thumb of list.querySelectorAll('[data-background], [data-colour]')) {
  thumb.classList.add('coloured');
  if (thumb.dataset.background) thumb.style.backgroundColor = thumb.dataset.background;
  if (thumb.dataset.colour) thumb.style.color = thumb.dataset.colour;
}
// A picture that cannot be shown gives way to the words.
list.addEventListener('error', event => {
  event.target.nextElementSibling.hidden = false;
  event.target.remove();
}, true);
byId('tools').hidden = false;
sort.addEventListener('change', order);
search.addEventListener('input', find);
document.addEventListener('keydown', event => {
  if (event.key === '/' && document.activeElement !== search) { event.preventDefault(); search.focus(); }
});
})();
