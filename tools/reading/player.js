// Plays the slides that stand in the page. All facts are in data- attributes; nothing of the message
// is ever read as markup, and places and colours are set through the style object only.
'use strict';
(() => {
const byId = id => document.getElementById(id);
const all = (selector, root = document) => [...root.querySelectorAll(selector)];
const clamp = (value, low, high) => Math.min(Math.max(value, low), high);

const DEFAULT_DURATION = 5000; // ms, of a slide that gives none
const SHORTEST = 100;          // ms, so that no run of slides blocks the page
const DRIFT = 0.35;            // s between a sound and the slide's clock before it is set again
const MOST_MARKS = 60;

const player = byId('player'), phone = byId('phone'), controls = byId('controls');
const position = byId('position');
const number = (element, name) => Number(element.dataset[name]) || 0;

function readItem(element) {
  const place = element.dataset.place ? element.dataset.place.split(' ').map(Number) : null;
  return {
    element, place, begin: number(element, 'begin'), end: number(element, 'end'),
    medium: element.querySelector('audio, video, img'), line: byId(element.dataset.line || ''),
  };
}
function readSlide(element) {
  const items = all('[data-begin]', element).map(readItem);
  return {element, items, given: number(element, 'duration'), stage: element.querySelector('.stage'),
          timed: items.filter(item => item.medium && item.medium.tagName !== 'IMG')};
}
const slides = all('.slide', phone).map(readSlide);
const rooted = player.dataset.width > 0 && player.dataset.height > 0;
const laidOut = document.body.classList.contains('laid-out');

// A part that several slides show stands in the page once, and is handed on when it is to be seen.
function wake(root) {
  for (const medium of all('[data-same]', root)) {
    medium.src = byId(medium.dataset.same).src;
    delete medium.dataset.same;
  }
}

let index = 0, time = 0, playing = false, sound = true, reading = true, starts = [0];
let frame = 0, before = 0;

// ---- Time -------------------------------------------------------------------------------------

// Without a duration a slide stays 5 s, longer when an element or a sound of it does.
function duration(slide) {
  if (slide.given > 0) return Math.max(slide.given, SHORTEST);
  let most = DEFAULT_DURATION;
  for (const item of slide.items) most = Math.max(most, item.end);
  for (const {medium, begin} of slide.timed) {
    if (Number.isFinite(medium.duration)) most = Math.max(most, begin + medium.duration * 1000);
  }
  return most;
}
function shown(slide, item) {
  const length = duration(slide);
  const open = slide.given > 0 ? item.end >= slide.given : item.end - item.begin === DEFAULT_DURATION;
  const end = open ? length : item.end;
  return time >= item.begin && (time < end || (time >= length && end >= length));
}
function measure() {
  starts = [0];
  for (const slide of slides) starts.push(starts[starts.length - 1] + duration(slide));
  position.max = starts[slides.length];
  const marks = slides.length <= MOST_MARKS ? starts.slice(1, -1) : [];
  byId('marks').replaceChildren(...marks.map(start => {
    const mark = document.createElement('i');
    mark.style.left = `${100 * start / starts[slides.length]}%`;
    return mark;
  }));
}
// Of all media that come at once, in one go.
let settling = 0;
function loaded() {
  settling = settling || requestAnimationFrame(() => {
    settling = 0;
    measure();
    if (!reading) { place(); render(); }
  });
}
const clock = ms => {
  const seconds = Math.floor(ms / 1000);
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
};

// ---- Places -----------------------------------------------------------------------------------

// The root layout's size, or what the places need when there is none.
function screenSize() {
  if (rooted) return [number(player, 'width'), number(player, 'height')];
  let width = 0, height = 0;
  for (const {items} of slides) for (const {place} of items) if (place) {
    width = Math.max(width, place[0] + place[2]);
    height = Math.max(height, place[1] + place[3]);
  }
  return width > 0 && height > 0 ? [width, height] : [240, 320];
}
function box([left, top, width, height], [screenWidth, screenHeight]) {
  return [left, top, width > 0 ? width : Math.max(screenWidth - left, 1),
          height > 0 ? height : Math.max(screenHeight - top, 1)];
}
// How far a text may grow below its region: to the next element or the end of the screen.
function room(slide, item, size) {
  const [left, top, width] = box(item.place, size);
  let limit = size[1];
  for (const other of slide.items) if (other !== item && other.place) {
    const [x, y, w, h] = box(other.place, size);
    const beside = x >= left + width || x + w <= left;
    if (!beside && y + h > top) limit = Math.min(limit, Math.max(y, top));
  }
  return limit - top;
}
function fitText(slide, item, size, scale) {
  const {element, place} = item, style = element.style;
  style.fontSize = '16px';
  const over = () => element.scrollHeight > element.clientHeight + 1;
  if (place && over()) {
    const height = Math.max(box(place, size)[3], room(slide, item, size)) * scale;
    style.height = `${Math.min(height, element.scrollHeight)}px`;
  }
  for (let px = 15; px >= 12 && over(); px--) style.fontSize = `${px}px`;
  scrolling(element, over());
}
// A text that scrolls is reached by the keyboard, and fades where it goes on.
function scrolling(element, on) {
  const more = () => element.classList.toggle('goes-on',
    on && element.scrollTop + element.clientHeight < element.scrollHeight - 1);
  element.onscroll = on ? more : null;
  more();
  if (!on) { element.removeAttribute('tabindex'); return; }
  element.tabIndex = 0;
  element.setAttribute('role', 'group');
  element.setAttribute('aria-label', 'Text');
}
// The natural size, in the layout's pixels, for the fits that do not scale, and without a fit for
// what is smaller than its region, in the middle of it.
function natural(item, size, scale) {
  const {element, medium} = item, fit = element.dataset.fit;
  if (!medium || !item.place || !laidOut || (fit && fit !== 'hidden' && fit !== 'scroll')) return;
  const width = medium.naturalWidth || medium.videoWidth, height = medium.naturalHeight || medium.videoHeight;
  if (!width || !height) return;
  const [, , most, highest] = box(item.place, size);
  const shrunk = fit ? scale : scale * Math.min(1, most / width, highest / height);
  Object.assign(medium.style, {width: `${width * shrunk}px`, height: `${height * shrunk}px`});
  if (fit) return;
  Object.assign(medium.style, {marginLeft: `${(most * scale - width * shrunk) / 2}px`,
                               marginTop: `${(highest * scale - height * shrunk) / 2}px`});
}
function place() {
  const size = screenSize();
  const most = [Math.min(player.clientWidth - 28, 352), clamp(window.innerHeight - 330, 300, 560)];
  const scale = Math.min(most[0] / size[0], laidOut ? most[1] / size[1] : most[0] / size[0], 4);
  const slide = slides[index];
  slide.stage.style.width = `${Math.max(size[0] * scale, 40)}px`;
  slide.stage.style.height = `${Math.max(size[1] * scale, 40)}px`;
  phone.style.maxWidth = `${Math.max(size[0] * scale, 180) + 28}px`;
  slide.stage.style.marginInline = 'auto';
  for (const item of slide.items) {
    const {element} = item;
    if (!slide.stage.contains(element)) continue;
    if (item.place && laidOut) {
      const [left, top, width, height] = box(item.place, size);
      Object.assign(element.style, {left: `${left * scale}px`, top: `${top * scale}px`,
                                    width: `${width * scale}px`, height: `${height * scale}px`});
    }
    if (element.classList.contains('text')) fitText(slide, item, size, scale);
    natural(item, size, scale);
  }
}
function unplace() {
  for (const {stage, items} of slides) {
    for (const name of ['width', 'height', 'marginInline']) stage.style[name] = '';
    for (const {element, medium} of items) {
      for (const name of ['left', 'top', 'width', 'height', 'fontSize']) element.style[name] = '';
      if (medium) for (const name of ['width', 'height', 'marginLeft', 'marginTop']) medium.style[name] = '';
      element.classList.remove('off');
      scrolling(element, false);
    }
  }
  phone.style.maxWidth = '';
}

// ---- Sound and video follow the slide's clock ----------------------------------------------------

function follow(slide, item, seek) {
  const {medium} = item;
  const at = (time - item.begin) / 1000;
  const wanted = shown(slide, item) && !(medium.duration <= at);
  if (wanted && (seek || Math.abs(medium.currentTime - at) > DRIFT)) medium.currentTime = at;
  medium.muted = !sound;
  if (!wanted || !playing) { if (!medium.paused) medium.pause(); return; }
  if (!medium.paused || medium.dataset.waits) return;
  medium.dataset.waits = '1';
  medium.play().then(() => { byId('hint').hidden = true; }, error => {
    if (error.name === 'NotAllowedError') byId('hint').hidden = false;
  }).finally(() => { if (byId('hint').hidden) delete medium.dataset.waits; });
}
function silence() {
  for (const slide of slides) for (const {medium} of slide.timed) medium.pause();
}
// The first press of anything lets sounds begin.
function unlock() {
  byId('hint').hidden = true;
  for (const medium of all('[data-waits]')) delete medium.dataset.waits;
}

// ---- What is seen ------------------------------------------------------------------------------

function render(seek = false) {
  const slide = slides[index];
  for (const item of slide.items) {
    const on = shown(slide, item);
    item.element.classList.toggle('off', !on);
    if (item.line) item.line.classList.toggle('told', on && (item.line.matches('.cannot, .sound, .partial')));
  }
  for (const item of slide.timed) follow(slide, item, seek);
  const now = starts[index] + time, total = starts[slides.length];
  position.value = now;
  position.style.setProperty('--done', `${total ? 100 * now / total : 0}%`);
  position.setAttribute('aria-valuetext',
    `Slide ${index + 1} of ${slides.length}, ${clock(now)} of ${clock(total)}`);
  byId('where').textContent = `Slide ${index + 1} of ${slides.length}` + (slide.given > 0 ? '' : ' · no duration given');
  byId('clock').textContent = `${clock(now)} / ${clock(total)}`;
  byId('back').setAttribute('aria-disabled', index === 0 && time < 1000);
  byId('forward').setAttribute('aria-disabled', index === slides.length - 1);
}
function announce() {
  const words = slides[index].items.map(({element, medium}) =>
    (medium && (medium.alt || medium.getAttribute('aria-label'))) || element.textContent.trim());
  byId('live').textContent = `Slide ${index + 1} of ${slides.length}. ${words.join('. ')}`;
}
function go(to, at = 0) {
  const changed = to !== index;
  if (changed) for (const {medium} of slides[index].timed) medium.pause();
  slides[index].element.classList.remove('current');
  index = to;
  time = at;
  slides[index].element.classList.add('current');
  for (const slide of slides.slice(index, index + 2)) wake(slide.element);
  if (changed) place();
  render(true);
  if (changed) announce();
}
function seek(at) {
  let to = 0;
  while (to < slides.length - 1 && at >= starts[to + 1]) to++;
  go(to, Math.min(at - starts[to], duration(slides[to])));
}
function tick(now) {
  frame = 0;
  if (!playing) return;
  time += now - before;
  before = now;
  let to = index;
  while (to < slides.length - 1 && time >= duration(slides[to])) time -= duration(slides[to++]);
  if (time >= duration(slides[to])) { // only of the last one
    time = duration(slides[to]);
    if (to !== index) go(to, time);
    set(false);
    return;
  }
  if (to === index) render(); else go(to, time);
  frame = requestAnimationFrame(tick);
}
function set(on) {
  if (on && index === slides.length - 1 && time >= duration(slides[index])) go(0);
  playing = on;
  before = performance.now();
  controls.classList.toggle('is-playing', on);
  byId('pause').setAttribute('aria-label', on ? 'Pause' : 'Play');
  if (on && !frame) frame = requestAnimationFrame(tick);
  render();
}
function read(on) {
  reading = on;
  set(false);
  silence();
  document.body.classList.toggle('playing-view', !on);
  controls.hidden = on;
  byId('view').textContent = on ? 'Play the slides' : 'Read all slides';
  for (const slide of slides) for (const {medium} of slide.timed) { medium.controls = on; medium.muted = false; }
  for (const slide of slides) slide.element.classList.toggle('current', !on && slide === slides[index]);
  if (on) { wake(document); return unplace(); }
  wake(slides[index].element);
  place();
  render(true);
}
const steps = {
  toggle: () => set(!playing),
  back: () => go(time > 1500 ? index : Math.max(index - 1, 0)),
  forward: () => { if (index < slides.length - 1) go(index + 1); },
  first: () => go(0),
  last: () => go(slides.length - 1),
  mute: () => { sound = !sound; byId('mute').setAttribute('aria-pressed', sound); render(); },
};
const keys = {' ': 'toggle', k: 'toggle', ArrowLeft: 'back', ArrowRight: 'forward', Home: 'first', End: 'last', m: 'mute'};

// ---- What a browser cannot show, and files ------------------------------------------------------

function fail(event) {
  const item = event.target.closest('[data-line]');
  const line = item && byId(item.dataset.line);
  if (!line) { event.target.hidden = true; return; }
  item.classList.add('broken');
  line.classList.add('cannot');
  line.querySelector('.why').hidden = false;
  if (!reading) render();
}
// Browsers refuse a link with a very long data URL, and what the page shows stands in it once: the
// bytes are handed over when they are asked for.
function save(event) {
  const link = event.target.closest('a.save');
  if (!link || link.protocol === 'blob:') return;
  const holder = link.dataset.of ? byId(link.dataset.of) : link;
  const source = holder.src || holder.href;
  if (source.startsWith('data:') && (link.dataset.of || source.length > 1e6)) {
    const bytes = Uint8Array.from(atob(source.slice(source.indexOf(',') + 1)), c => c.charCodeAt(0));
    link.href = URL.createObjectURL(new Blob([bytes], {type: 'application/octet-stream'}));
  } else {
    link.href = source;
  }
}

// ---- Colours and beginning ------------------------------------------------------------------------

for (const {element, stage} of slides) {
  const background = element.dataset.background, colour = element.dataset.colour;
  if (!background && !colour) continue;
  stage.classList.add('coloured');
  stage.style.backgroundColor = background || '#fff';
  stage.style.color = colour || readable(background);
}
// Black or white, whichever is read better on the colour.
function readable(background) {
  const [r, g, b] = [1, 3, 5].map(at => (parseInt(background.slice(at, at + 2), 16) / 255) ** 2.2);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b > 0.18 ? '#16171a' : '#ffffff';
}

document.addEventListener('click', save, true);
wake(document.querySelector('.beside'));
for (const medium of all('img, audio, video')) {
  medium.addEventListener('error', fail);
  if (medium.error || (medium.complete && medium.naturalWidth === 0 && medium.src)) fail({target: medium});
}
if (slides.length > 0) {
  for (const medium of all('img, audio, video')) {
    medium.addEventListener('loadedmetadata', loaded);
    medium.addEventListener('load', loaded);
  }
  for (const name of ['back', 'forward', 'mute']) byId(name).addEventListener('click', () => { unlock(); steps[name](); });
  byId('pause').addEventListener('click', () => { unlock(); steps.toggle(); });
  byId('view').addEventListener('click', () => read(!reading));
  position.addEventListener('input', () => { unlock(); seek(Number(position.value)); });
  position.addEventListener('keydown', event => {
    const step = {ArrowLeft: -1000, ArrowDown: -1000, ArrowRight: 1000, ArrowUp: 1000}[event.key];
    if (!step) return;
    event.preventDefault();
    seek(clamp(starts[index] + time + step, 0, starts[slides.length]));
  });
  document.addEventListener('keydown', event => {
    if (reading || event.altKey || event.ctrlKey || event.metaKey) return;
    const {target, key} = event;
    const own = key === ' ' ? 'button, a, summary, input, [tabindex]' : 'input, [tabindex]';
    if (!keys[key] || (target.closest && target.closest(own) && key.length !== 1) || (key === ' ' && target.closest(own))) return;
    event.preventDefault();
    unlock();
    steps[keys[key]]();
  });
  window.addEventListener('resize', () => { if (!reading) place(); });
  document.addEventListener('visibilitychange', () => {
    before = performance.now();
    if (document.hidden) silence();
  });
  byId('mute').hidden = slides.every(slide => slide.timed.length === 0);
  // A single text that nothing places or times has nothing to play.
  byId('view').hidden = !laidOut && slides.length === 1 && slides[0].timed.length === 0;
  measure();
  read(!laidOut);
  if (laidOut && !matchMedia('(prefers-reduced-motion: reduce)').matches) set(true);
}
})();
