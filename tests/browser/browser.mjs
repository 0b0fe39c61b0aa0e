// One chromium for the tests and the screenshots: Debian's, without a window and without anything
// that talks to the network by itself.
import { chromium } from 'playwright-core';
import { existsSync } from 'node:fs';

export const executable = process.env.CHROMIUM || '/usr/bin/chromium';

export async function open() {
  if (!existsSync(executable)) throw new Error(`no browser at ${executable}`);
  return chromium.launch({
    executablePath: executable, headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-sync',
           '--disable-background-networking', '--disable-component-update'],
  });
}

// A page in its own context, which counts what it asks for and what it complains about.
export async function visit(browser, file, options = {}) {
  const context = await browser.newContext({ viewport: { width: 1120, height: 840 }, ...options });
  const page = await context.newPage();
  page.requests = [];
  page.complaints = [];
  page.on('request', request => {
    if (!/^(data|blob):/.test(request.url())) page.requests.push(request.url());
  });
  page.on('console', message => { if (message.type() === 'error') page.complaints.push(message.text()); });
  page.on('pageerror', error => page.complaints.push(String(error)));
  page.on('dialog', dialog => { page.complaints.push('dialog'); dialog.dismiss(); });
  await page.goto('file://' + file);
  return page;
}
