// node screenshots.mjs OUT-DIR [--dark] [--read] [--phone] [--at MS] PAGE.html...
// A picture of each page, still at MS (500) of its slides; what pages complain about is printed.
import { basename, resolve } from 'node:path';
import { parseArgs } from 'node:util';
import { open, visit } from './browser.mjs';

const { values, positionals } = parseArgs({ allowPositionals: true, options: {
  dark: { type: 'boolean' }, read: { type: 'boolean' }, phone: { type: 'boolean' },
  height: { type: 'string' }, at: { type: 'string', default: '500' }, slide: { type: 'string', default: '1' } } });
const [folder, ...pages] = positionals;
const browser = await open();
for (const file of pages) {
  const page = await visit(browser, resolve(file), {
    colorScheme: values.dark ? 'dark' : 'light', reducedMotion: 'reduce',
    viewport: values.phone ? { width: 390, height: 844 } : { width: 1120, height: Number(values.height || 840) },
  });
  if (await page.locator('#controls').isVisible()) {
    for (let i = 1; i < Number(values.slide); i++) await page.locator('#forward').click();
    await page.evaluate(ms => {
      const bar = document.getElementById('position');
      bar.value = Number(bar.value) + ms;
      bar.dispatchEvent(new Event('input'));
    }, Number(values.at));
    if (values.read) await page.locator('#view').click();
  }
  await page.mouse.move(0, 0);
  await page.waitForTimeout(60);
  await page.screenshot({ path: `${folder}/${basename(file, '.html')}.png`, fullPage: !values.height });
  if (page.complaints.length > 0) console.log(basename(file), page.complaints);
  await page.context().close();
}
await browser.close();
