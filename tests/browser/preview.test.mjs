// What `mmskit preview` promises, held in a real browser. MMSKIT names the command; run by
// ./run browser-test, which brings the browser and playwright-core.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, mkdirSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { open, visit } from './browser.mjs';
import { layout, message, picture, sound } from './message.mjs';

const tool = resolve(process.env.MMSKIT || '../../build/mmskit');
const examples = fileURLToPath(new URL('../../examples', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'mmskit-browser-'));
let browser, made = 0;

before(async () => { browser = await open(); });
after(async () => { await browser.close(); rmSync(folder, { recursive: true }); });

function write(bytes) {
  const file = join(folder, `message-${++made}.mms`);
  writeFileSync(file, bytes);
  return file;
}
function pageOf(file) {
  const out = join(folder, `page-${++made}.html`);
  const { status, stderr } = spawnSync(tool, ['preview', file, '-o', out]);
  assert.ok(status === 0 || status === 3, String(stderr)); // 3: something of the message is missing
  return out;
}
const show = (bytes, options) => visit(browser, pageOf(write(bytes)), options);
const still = { reducedMotion: 'reduce' };
const current = page => page.evaluate(() => [...document.querySelectorAll('.slide')].findIndex(s => s.matches('.current')) + 1);
const seek = (page, ms) => page.evaluate(at => {
  const bar = document.getElementById('position');
  bar.value = at;
  bar.dispatchEvent(new Event('input'));
}, ms);
const seen = (page, selector) => page.evaluate(s => {
  const element = document.querySelector(s);
  return element !== null && element.checkVisibility({ visibilityProperty: true });
}, selector);

const texts = ['One', 'Two', 'Three'].map((data, i) => ({ type: 'text/plain', name: `${'abc'[i]}.txt`, data }));
const three = smil => message({ smil, parts: texts });
const text_region = ['id="T" left="0" top="0" width="100%" height="100%"'];
const timed = durations => three(layout('width="160" height="120"', ['id="T" left="0" top="0" width="160" height="120"'],
  durations.map((dur, i) => `<par ${dur ? `dur="${dur}"` : ''}><text src="${'abc'[i]}.txt" region="T"/></par>`)));

describe('time', () => {
  test('slides_change_when_their_durations_are_over_and_the_last_one_stays', async () => {
    const page = await show(timed(['400ms', '300ms', '500ms']));
    const { seen: changes, longest } = await page.evaluate(() => new Promise(done => {
      const seen = [];
      let longest = 0; // ms between two frames: no change is seen more exactly
      let before = performance.now();
      const look = () => {
        longest = Math.max(longest, performance.now() - before);
        before = performance.now();
        const at = [...document.querySelectorAll('.slide')].findIndex(s => s.matches('.current'));
        if (seen.length === 0 || seen.at(-1).at !== at) seen.push({ at, when: performance.now() });
        if (at === 2) done({ seen, longest }); else requestAnimationFrame(look);
      };
      look();
    }));
    assert.deepEqual(changes.map(change => change.at).slice(-2), [1, 2]);
    const second = changes[changes.length - 1].when - changes[changes.length - 2].when;
    assert.ok(Math.abs(second - 300) <= 2 * longest + 20, `the second slide stood ${second} ms, frames ${longest} ms`);
    await page.waitForFunction(() => document.getElementById('pause').getAttribute('aria-label') === 'Play');
    assert.equal(await current(page), 3);
    await page.context().close();
  });

  test('nothing_moves_by_itself_where_motion_is_not_wanted', async () => {
    const page = await show(timed(['200ms', '200ms', '200ms']), still);
    await page.waitForTimeout(500);
    assert.equal(await current(page), 1);
    await page.context().close();
  });

  test('a_slide_without_duration_stays_five_seconds_and_says_so', async () => {
    const page = await show(timed(['1s', '', '1s']), still);
    assert.equal(await page.locator('#position').getAttribute('max'), '7000');
    await page.keyboard.press('ArrowRight');
    assert.match(await page.locator('#where').textContent(), /no duration given/);
    await page.context().close();
  });

  test('an_element_is_there_from_its_begin_to_its_end', async () => {
    const smil = layout('width="160" height="120"', ['id="T" left="0" top="0" width="160" height="60"',
      'id="I" left="0" top="60" width="160" height="60"'],
      ['<par dur="4s"><text src="a.txt" region="T" begin="1s" end="3s"/><img src="p.bmp" region="I" end="2s"/></par>']);
    const page = await show(message({ smil, parts: [texts[0], { type: 'image/bmp', name: 'p.bmp', data: picture(8, 8, [9, 9, 9]) }] }), still);
    for (const [ms, text, image] of [[0, false, true], [999, false, true], [1000, true, true], [1999, true, true],
      [2000, true, false], [2999, true, false], [3000, false, false]]) {
      await seek(page, ms);
      assert.deepEqual([await seen(page, '.item.text'), await seen(page, '.item.image')], [text, image], `at ${ms} ms`);
    }
    await page.context().close();
  });

  test('a_sound_follows_the_clock_of_its_slide', async () => {
    const smil = layout('width="160" height="120"', text_region, ['<par dur="8s"><audio src="s.wav" begin="1s" end="6s"/></par>']);
    const page = await show(message({ smil, parts: [{ type: 'audio/wav', name: 's.wav', data: sound(4) }] }), still);
    const state = () => page.evaluate(() => { const a = document.querySelector('audio'); return [a.paused, a.currentTime]; });
    await page.waitForFunction(() => document.querySelector('audio').duration > 0);
    await page.locator('#pause').click();
    await page.waitForTimeout(300);
    assert.equal((await state())[0], true, 'before its begin');
    await seek(page, 3000);
    await page.waitForFunction(() => !document.querySelector('audio').paused);
    await page.waitForTimeout(400);
    const [, at] = await state();
    const clock = await page.evaluate(() => Number(document.getElementById('position').value) / 1000 - 1);
    assert.ok(Math.abs(at - clock) < 0.6, `sound at ${at} s, slide at ${clock} s`);
    await page.keyboard.press('k');
    await page.waitForFunction(() => document.querySelector('audio').paused);
    await page.context().close();
  });
});

describe('place', () => {
  const regions = ['id="I" left="10" top="20" width="100" height="50" fit="fill"', 'id="T" left="30" top="100" width="90" height="40"'];
  const slide = '<par dur="5s"><img src="p.bmp" region="I"/><text src="a.txt" region="T"/></par>';
  const made_of = (fit, width = 30, height = 30) => message({
    smil: layout('width="200" height="160" background-color="#102030"', [regions[0].replace('fill', fit), regions[1]], [slide]),
    parts: [texts[0], { type: 'image/bmp', name: 'p.bmp', data: picture(width, height, [200, 30, 30]) }] });

  test('regions_have_the_layouts_places_and_shape', async () => {
    const page = await show(made_of('fill'), still);
    const boxes = await page.evaluate(() => ['.current .stage', '.item.image', '.item.image img', '.item.text'].map(s => {
      const { x, y, width, height } = document.querySelector(s).getBoundingClientRect();
      return [x, y, width, height];
    }));
    const [stage, image, img, text] = boxes;
    const scale = stage[2] / 200;
    assert.ok(scale > 1, 'a small screen is shown larger');
    const expected = (left, top, width, height) => [stage[0] + left * scale, stage[1] + top * scale, width * scale, height * scale];
    const near = (got, want) => got.forEach((value, i) => assert.ok(Math.abs(value - want[i]) < 1, `${got} instead of ${want}`));
    near(stage, expected(0, 0, 200, 160));
    near(image, expected(10, 20, 100, 50));
    near(img, expected(10, 20, 100, 50));
    near(text, expected(30, 100, 90, 40));
    await page.context().close();
  });

  for (const [fit, object_fit, position] of [['fill', 'fill', '50% 50%'], ['meet', 'contain', '0px 0px'], ['slice', 'cover', '0px 0px']]) {
    test(`fit_${fit}_is_the_layouts`, async () => {
      const page = await show(made_of(fit), still);
      const style = await page.evaluate(() => { const s = getComputedStyle(document.querySelector('.item img')); return [s.objectFit, s.objectPosition]; });
      assert.deepEqual(style, [object_fit, position]);
      await page.context().close();
    });
  }

  test('fit_hidden_keeps_the_pictures_own_size', async () => {
    const page = await show(made_of('hidden', 25, 300), still);
    await page.waitForFunction(() => document.querySelector('.item img').style.width !== '');
    const [img, stage] = await page.evaluate(() => ['.item img', '.stage'].map(s => document.querySelector(s).getBoundingClientRect().width));
    assert.ok(Math.abs(img / stage - 25 / 200) < 0.01);
    await page.context().close();
  });

  test('a_picture_without_fit_is_shrunk_into_its_region_but_never_blown_up', async () => {
    for (const [width, height, share] of [[20, 10, 0.2], [400, 200, 1]]) {
      const page = await show(message({
        smil: layout('width="200" height="160"', ['id="I" left="0" top="0" width="100" height="50"'], ['<par dur="5s"><img src="p.bmp" region="I"/></par>']),
        parts: [{ type: 'image/bmp', name: 'p.bmp', data: picture(width, height, [200, 30, 30]) }] }), still);
      await page.waitForFunction(() => document.querySelector('.item img').style.width !== '');
      const [img, item] = await page.evaluate(() => ['.item img', '.item'].map(s => document.querySelector(s).getBoundingClientRect().toJSON()));
      assert.ok(Math.abs(img.width / item.width - share) < 0.01, `${img.width} of ${item.width}`);
      assert.ok(Math.abs((img.left + img.right) / 2 - (item.left + item.right) / 2) < 1, 'in the middle');
      await page.context().close();
    }
  });

  test('colours_are_the_messages', async () => {
    const page = await show(made_of('fill'), still);
    assert.equal(await page.evaluate(() => getComputedStyle(document.querySelector('.stage')).backgroundColor), 'rgb(16, 32, 48)');
    await page.context().close();
  });

  test('the_whole_screen_fits_into_the_window_of_a_phone', async () => {
    const large = message({ smil: layout('width="1200" height="1600"', ['id="T" left="0" top="1440" width="1200" height="160"'],
      ['<par dur="5s"><text src="a.txt" region="T"/></par>']), parts: [texts[0]] });
    const page = await show(large, { ...still, viewport: { width: 360, height: 640 } });
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 360);
    const [stage, text] = await page.evaluate(() => ['.stage', '.item.text'].map(s => document.querySelector(s).getBoundingClientRect().bottom));
    assert.ok(text <= stage + 1);
    await page.context().close();
  });

  test('a_text_grows_into_free_space_gets_smaller_and_then_scrolls', async () => {
    const words = 'Quite a lot of words. ';
    for (const [count, scrolls] of [[1, false], [12, false], [200, true]]) {
      const page = await show(message({
        smil: layout('width="176" height="220"', ['id="I" left="0" top="160" width="176" height="60"', 'id="T" left="8" top="10" width="160" height="20"'],
          ['<par dur="5s"><img src="p.bmp" region="I"/><text src="a.txt" region="T"/></par>']),
        parts: [{ ...texts[0], data: words.repeat(count) }, { type: 'image/bmp', name: 'p.bmp', data: picture(50, 20, [1, 90, 1]) }] }), still);
      const [text, image, stage, over] = await page.evaluate(() => [...['.item.text', '.item.image', '.stage'].map(s => document.querySelector(s).getBoundingClientRect().toJSON()),
        (e => e.scrollHeight > e.clientHeight + 1)(document.querySelector('.item.text'))]);
      const scale = stage.width / 176;
      assert.equal(over, scrolls, `${count} times`);
      assert.ok(Math.abs(text.top - stage.top - 10 * scale) < 1 && Math.abs(text.width - 160 * scale) < 1, 'stays where it is');
      assert.ok(text.height >= 20 * scale - 1 && text.bottom <= image.top + 1, 'covers nothing');
      assert.equal(await page.locator('.item.text[tabindex="0"]').count(), scrolls ? 1 : 0, 'reached by the keyboard');
      await page.context().close();
    }
  });

  test('without_a_layout_all_slides_stand_in_a_column', async () => {
    const page = await show(message({ parts: texts }), still);
    assert.equal(await seen(page, '#controls'), false);
    const tops = await page.evaluate(() => [...document.querySelectorAll('.slide')].map(s => s.getBoundingClientRect().top));
    assert.ok(tops.length > 0 && tops.every((top, i) => i === 0 || top > tops[i - 1]));
    await page.context().close();
  });
});

describe('safety', () => {
  const evil = '<script>document.title="run"</script><img src="http://127.0.0.1:9/x" onerror="document.title=\'run\'">"\'</style>&amp;{{script}}';
  const name = '"><img src=x onerror=alert(1)>.jpg';
  const hostile = message({
    subject: evil, from: evil,
    smil: layout('width="160" height="120"', text_region, ['<par dur="2s"><text src="a.txt" region="T"/></par>']),
    parts: [{ type: 'text/plain', name: 'a.txt', data: evil + '\x07' },
      { type: 'text/html', name: '../../page.html', data: '<script>parent.document.title="run"</script>' },
      { type: 'image/svg+xml', name: 'x.svg', data: '<svg xmlns="http://www.w3.org/2000/svg" onload="alert(1)"/>' },
      { type: 'image/jpeg" onerror="alert(1)', name, data: '<svg onload="alert(1)"/>' }],
  });

  test('a_hostile_message_is_text_and_asks_for_nothing', async () => {
    const page = await show(hostile);
    await page.waitForTimeout(300);
    assert.equal(await page.title(), evil);
    assert.equal(await page.locator('.item.text').innerText(), evil + '\ufffd');
    assert.equal(await page.locator('script').count(), 1);
    assert.equal(await page.locator('[onerror], [onload], iframe, object, embed, [style*="http"]').count(), 0);
    assert.deepEqual(page.requests.filter(url => !url.startsWith('file:')), []);
    assert.equal(page.requests.length, 1, 'the page itself');
    assert.deepEqual(page.complaints, []);
    await page.context().close();
  });

  test('html_and_svg_can_only_be_saved_and_under_safe_names', async () => {
    const page = await show(hostile, still);
    const links = await page.evaluate(() => [...document.querySelectorAll('a.save')].map(a => [a.download, a.getAttribute('href').split(',')[0]]));
    assert.equal(links.length, 3);
    for (const [download, href] of links) {
      assert.equal(href, 'data:application/octet-stream;base64');
      assert.doesNotMatch(download, /[/\\]|^\./);
    }
    assert.equal(await page.locator('img').count(), 0);
    await page.context().close();
  });

  test('the_policy_stops_a_script_and_a_style_that_got_in_all_the_same', async () => {
    const file = pageOf(write(hostile));
    writeFileSync(file, readFileSync(file, 'utf8').replace('</main>',
      '</main><p id="in" style="color: rgb(1, 2, 3)" onclick="document.title=1">x</p><script>document.title = "run"</script><img src="http://127.0.0.1:9/i.png">'));
    const page = await visit(browser, file, still);
    await page.waitForTimeout(200);
    assert.equal(await page.title(), evil);
    assert.notEqual(await page.evaluate(() => getComputedStyle(document.getElementById('in')).color), 'rgb(1, 2, 3)');
    assert.ok(page.complaints.length >= 3, page.complaints.join('\n'));
    await page.context().close();
  });

  test('a_file_is_saved_byte_for_byte', async () => {
    const data = picture(900, 900, [1, 2, 3]); // longer than what a link may hold
    const page = await show(message({ parts: [{ type: 'application/pdf', name: 'large.pdf', data }, { type: 'image/bmp', name: 'p.bmp', data: picture(5, 5, [7, 7, 7]) }] }), still);
    for (const [download, want] of [['large.pdf', data], ['p.bmp', picture(5, 5, [7, 7, 7])]]) {
      const [got] = await Promise.all([page.waitForEvent('download'), page.locator(`a[download="${download}"]`).click()]);
      assert.equal(got.suggestedFilename(), download);
      assert.ok(readFileSync(await got.path()).equals(want));
    }
    await page.context().close();
  });
});

describe('media', () => {
  test('what_a_browser_cannot_play_is_said_and_can_be_saved', async () => {
    const smil = layout('width="160" height="120"', text_region, ['<par dur="2s"><audio src="s.mid"/></par>']);
    const page = await show(message({ smil, parts: [{ type: 'audio/midi', name: 's.mid', data: 'MThd' }] }), still);
    const line = page.locator('.strip .cannot');
    assert.match(await line.innerText(), /s\.mid.*A browser cannot play audio\/midi/s);
    assert.equal(await line.locator('a.save').count(), 1);
    await page.context().close();
  });

  test('a_picture_that_was_cut_is_shown_as_far_as_it_goes_and_said_to_be_cut', async () => {
    const smil = layout('width="160" height="120"', text_region, ['<par dur="2s"><img src="p.bmp" region="T"/></par>']);
    const whole = message({ smil, parts: [{ type: 'image/bmp', name: 'p.bmp', data: picture(40, 40, [9, 99, 9]) }] });
    const page = await show(whole.subarray(0, whole.length - 1000), still);
    await page.waitForSelector('.strip .told');
    assert.match(await page.locator('.strip .told').innerText(), /Only 3854 of 4854 bytes are there/);
    assert.match(await page.locator('.notes').innerText(), /Not all of this message is here[^]*p\.bmp: 3854 of 4854 bytes/);
    assert.deepEqual(page.complaints, []);
    await page.context().close();
  });

  test('a_picture_that_turns_out_to_be_broken_is_said_to_be', async () => {
    const smil = layout('width="160" height="120"', text_region, ['<par dur="2s"><img src="p.jpg"/></par>']);
    const page = await show(message({ smil, parts: [{ type: 'image/jpeg', name: 'p.jpg', data: Buffer.from([0xff, 0xd8, 0xff, 0xe0, 1, 2]) }] }), still);
    await page.waitForSelector('.strip .cannot');
    assert.match(await page.locator('.strip .cannot').innerText(), /cannot show it/);
    await page.context().close();
  });

  test('a_part_that_many_slides_show_stands_in_the_page_once', async () => {
    const data = picture(100, 100, [1, 2, 3]);
    const slides = Array.from({ length: 50 }, () => '<par dur="1s"><img src="p.bmp" region="T"/></par>');
    const file = pageOf(write(message({ smil: layout('width="160" height="120"', text_region, slides), parts: [{ type: 'image/bmp', name: 'p.bmp', data }] })));
    assert.ok(statSync(file).size < data.length * 4 / 3 + 120000);
    const page = await visit(browser, file, still);
    await page.keyboard.press('End');
    await page.waitForFunction(() => document.querySelector('.current img').naturalWidth === 100);
    await page.context().close();
  });

  test('a_message_of_three_megabytes_is_open_at_once', async () => {
    const smil = layout('width="160" height="120"', text_region, ['<par dur="2s"><img src="p.bmp" region="T"/></par>']);
    const page = await show(message({ smil, parts: [{ type: 'image/bmp', name: 'p.bmp', data: picture(1000, 1000, [9, 99, 9]) }] }), still);
    const ready = await page.evaluate(() => performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd);
    console.log(`# 3 MB: ready after ${Math.round(ready)} ms`);
    assert.ok(ready < 1500, `${ready} ms`);
    await page.waitForFunction(() => document.querySelector('.item img').naturalWidth === 1000);
    await page.context().close();
  });
});

describe('people', () => {
  test('keys_move_and_pause', async () => {
    const page = await show(timed(['3s', '3s', '3s']), still);
    const label = () => page.locator('#pause').getAttribute('aria-label');
    for (const [key, slide] of [['ArrowRight', 2], ['ArrowRight', 3], ['ArrowRight', 3], ['ArrowLeft', 2], ['End', 3], ['Home', 1]]) {
      await page.keyboard.press(key);
      assert.equal(await current(page), slide, key);
    }
    await page.keyboard.press('Space');
    assert.equal(await label(), 'Pause');
    await page.keyboard.press('k');
    assert.equal(await label(), 'Play');
    await page.context().close();
  });

  test('every_control_is_reached_and_worked_by_the_keyboard', async () => {
    const page = await show(readFileSync(join(examples, 'postcard.mms')), still);
    const reached = [];
    for (let i = 0; i < 12; i++) {
      await page.keyboard.press('Tab');
      reached.push(await page.evaluate(() => document.activeElement.id || document.activeElement.tagName));
    }
    for (const id of ['position', 'back', 'pause', 'forward', 'mute', 'view', 'SUMMARY']) assert.ok(reached.includes(id), `${id} in ${reached}`);
    await page.locator('#pause').focus();
    await page.keyboard.press('Space');
    assert.equal(await page.locator('#pause').getAttribute('aria-label'), 'Pause', 'pressed once, not twice');
    await page.locator('#position').focus();
    await page.keyboard.press('k');
    await page.keyboard.press('End');
    assert.equal(await current(page), 3);
    await page.context().close();
  });

  test('a_screen_reader_finds_names_and_hears_the_slide', async () => {
    const page = await show(readFileSync(join(examples, 'postcard.mms')), still);
    const tree = await page.locator('body').ariaSnapshot();
    for (const name of [/heading "Grüße vom Strand 🌅" \[level=1\]/, /article "Slide 1 of 3"/, /img "Picture sunset\.jpg"/,
      /slider "Position"/, /button "Play"/, /button "Next slide"/, /button "Previous slide"/, /link "Save zoe\.vcf"/, /button "Read all slides"/]) {
      assert.match(tree, name);
    }
    assert.doesNotMatch(tree, /article "Slide 2/);
    await page.keyboard.press('ArrowRight');
    assert.match(await page.locator('#live').textContent(), /Slide 2 of 3.*boat/);
    await page.context().close();
  });

  const postcard = readFileSync(join(examples, 'postcard.mms'));
  for (const [what, bytes] of [['whole', postcard], ['cut', postcard.subarray(0, 9000)]]) for (const colorScheme of ['light', 'dark']) {
    test(`contrast_is_enough_in_${colorScheme}_of_a_message_that_is_${what}`, async () => {
      const page = await show(bytes, { ...still, colorScheme });
      for (const fold of await page.locator('summary').all()) await fold.click();
      const poor = await page.evaluate(() => {
        const parse = colour => (colour.match(/[\d.]+/g) || []).map(Number);
        const light = ([r, g, b]) => [r, g, b].map(v => v / 255).map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
          .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
        const behind = element => {
          for (let e = element; e; e = e.parentElement) {
            const colour = parse(getComputedStyle(e).backgroundColor);
            if (colour.length === 3 || colour[3] > 0.99) return colour;
          }
          return [255, 255, 255];
        };
        const found = [];
        for (const element of document.querySelectorAll('body *')) {
          const own = [...element.childNodes].some(n => n.nodeType === 3 && n.data.trim()) || element.matches('button svg');
          if (!own || !element.checkVisibility({ visibilityProperty: true }) || element.closest('.stage, [aria-disabled="true"]')) continue;
          const [a, b] = [light(parse(getComputedStyle(element).color)), light(behind(element))].sort((x, y) => y - x);
          const ratio = (a + 0.05) / (b + 0.05);
          if (ratio < 4.5) found.push(`${element.tagName}.${element.className.baseVal ?? element.className} ${ratio.toFixed(2)}`);
        }
        return found;
      });
      assert.deepEqual(poor, []);
      await page.context().close();
    });
  }
});

describe('a folder', () => {
  const many = 5000;
  let index;
  before(() => {
    const inbox = join(folder, 'inbox'), out = join(folder, 'out');
    mkdirSync(join(inbox, 'old'), { recursive: true });
    const smil = layout('width="160" height="120"', text_region, ['<par dur="2s"><img src="p.bmp" region="T"/><text src="a.txt" region="T"/></par>']);
    for (let i = 0; i < many - 2; i++) {
      writeFileSync(join(inbox, i % 2 ? 'old' : '', `m${i}.mms`), message({
        subject: `Subject ${i}`, from: `+1555${i % 7}/TYPE=PLMN`, smil,
        parts: [texts[0], { type: 'image/bmp', name: 'p.bmp', data: picture(8, 8, [i % 256, 90, 160]) }] }));
    }
    writeFileSync(join(inbox, 'index.mms'), message({ subject: '<b>needle</b>', parts: texts }));
    writeFileSync(join(inbox, 'notes #1?.txt'), 'no message');
    const start = Date.now();
    execFileSync(tool, ['preview', inbox, '-o', out]);
    console.log(`# ${many} files: written in ${Date.now() - start} ms`);
    index = join(out, 'index.html');
  });

  test('the_index_of_5000_messages_opens_searches_and_scrolls', async () => {
    const page = await visit(browser, index, still);
    assert.equal(await page.locator('.row').count(), many);
    const times = await page.evaluate(async () => {
      const frames = count => new Promise(done => { const next = n => n ? requestAnimationFrame(() => next(n - 1)) : done(); next(count); });
      const ready = performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd;
      const start = performance.now();
      for (let i = 1; i <= 20; i++) { scrollTo(0, document.body.scrollHeight * i / 20); await frames(2); }
      return { ready, scroll: (performance.now() - start) / 40 };
    });
    console.log(`# index of ${many}: ready after ${Math.round(times.ready)} ms, ${times.scroll.toFixed(1)} ms a frame while scrolling`);
    assert.ok(times.ready < 5000 && times.scroll < 400, JSON.stringify(times));
    const loaded = await page.evaluate(() => [...document.images].filter(image => image.complete && image.naturalWidth > 0).length);
    assert.ok(loaded > 0 && loaded < many / 2, `${loaded} pictures were loaded`);
    const search = await page.evaluate(() => {
      const start = performance.now(), field = document.getElementById('search');
      field.value = 'subject 77';
      field.dispatchEvent(new Event('input'));
      return [document.querySelectorAll('.row:not([hidden])').length, performance.now() - start];
    });
    console.log(`# a search in ${many}: ${search[1].toFixed(1)} ms`);
    assert.equal(search[0], Array.from({ length: many - 2 }, (_, i) => String(i)).filter(n => n.includes('77')).length);
    assert.ok(search[1] < 1000);
    await page.locator('#search').fill('needle');
    assert.equal(await page.locator('.row:not([hidden])').count(), 1);
    assert.equal(await page.locator('.row:not([hidden]) strong').innerText(), '<b>needle</b>');
    assert.deepEqual(page.complaints, []);
    assert.ok(page.requests.every(url => url.startsWith('file:')));
    await page.locator('.row:not([hidden]) a').click();
    await page.waitForSelector('.slide');
    assert.equal(await page.title(), '<b>needle</b>');
    await page.context().close();
  });

  test('rows_sort_by_what_is_asked_and_a_file_that_is_no_message_tells_why', async () => {
    const page = await visit(browser, index, still);
    await page.locator('#sort').selectOption('subject');
    const subjects = await page.evaluate(() => [...document.querySelectorAll('.row')].slice(0, 4).map(row => row.dataset.subject));
    assert.deepEqual(subjects, ['<b>needle</b>', 'Subject 0', 'Subject 1', 'Subject 2']);
    await page.locator('#search').fill('notes #1');
    assert.match(await page.locator('.row:not([hidden])').textContent(), /notes #1\?\.txt.*no message, but a text/s);
    await page.context().close();
  });

  test('a_folder_of_something_else_is_not_written_into', () => {
    const taken = join(folder, 'taken');
    mkdirSync(taken);
    writeFileSync(join(taken, 'mine.txt'), 'x');
    assert.throws(() => execFileSync(tool, ['preview', join(folder, 'inbox'), '-o', taken], { stdio: 'pipe' }), /name an empty or a new folder/);
    assert.ok(!existsSync(join(taken, 'thumbs')));
  });
});
