// Messages made for the tests: an m-retrieve-conf around a multipart body (WAP-230 8.5), with the
// presentation and the parts that a test asks for.
const text = string => Buffer.from(string + '\0', 'utf8');

function uintvar(value) {
  const bytes = [value & 0x7f];
  while ((value >>= 7) > 0) bytes.unshift(0x80 | (value & 0x7f));
  return Buffer.from(bytes);
}

function part({ type, name, data }) {
  const utf8_text = type === 'text/plain';
  const headers = Buffer.concat([
    utf8_text ? Buffer.from([0x03, 0x83, 0x81, 0xea]) : text(type), Buffer.from([0x8e]), text(name)]);
  const bytes = Buffer.from(data);
  return Buffer.concat([uintvar(headers.length), uintvar(bytes.length), headers, bytes]);
}

// The subject and the parts, the first of which is the presentation when `smil` is given.
export function message({ subject = 'A test', from = '+15550100/TYPE=PLMN', smil, parts = [] }) {
  const all = smil ? [{ type: 'application/smil', name: 'show.smil', data: smil }, ...parts] : parts;
  const sender = Buffer.concat([Buffer.from([0x80]), text(from)]);
  const title = Buffer.concat([Buffer.from([0xea]), text(subject)]);
  return Buffer.concat([
    Buffer.from([0x8c, 0x84, 0x98]), text('T1'), Buffer.from([0x8d, 0x90]),
    Buffer.from([0x85, 0x04, 0x68, 0x8b, 0xa0, 0x10]),
    Buffer.from([0x89]), uintvar31(sender.length), sender,
    Buffer.from([0x96]), uintvar31(title.length), title,
    Buffer.from([0x84, smil ? 0xb3 : 0xa3]), uintvar(all.length), ...all.map(part)]);
}

function uintvar31(length) { // a value-length: short, or quoted
  return length < 31 ? Buffer.from([length]) : Buffer.concat([Buffer.from([31]), uintvar(length)]);
}

export const layout = (root, regions, slides) =>
  `<smil><head><layout><root-layout ${root}/>${regions.map(r => `<region ${r}/>`).join('')}</layout></head>` +
  `<body>${slides.join('')}</body></smil>`;

// A picture of one colour, of any size: BMP needs no compression.
export function picture(width, height, [red, green, blue]) {
  const row = Math.ceil(width * 3 / 4) * 4;
  const bmp = Buffer.alloc(54 + row * height);
  bmp.write('BM'); bmp.writeUInt32LE(bmp.length, 2); bmp.writeUInt32LE(54, 10); bmp.writeUInt32LE(40, 14);
  bmp.writeInt32LE(width, 18); bmp.writeInt32LE(height, 22); bmp.writeUInt16LE(1, 26); bmp.writeUInt16LE(24, 28);
  for (let y = 0; y < height; y++) for (let x = 0; x < width; x++) bmp.set([blue, green, red], 54 + y * row + x * 3);
  return bmp;
}

// Silence, `seconds` long.
export function sound(seconds) {
  const data = Buffer.alloc(8000 * 2 * seconds);
  const wav = Buffer.alloc(44);
  wav.write('RIFF'); wav.writeUInt32LE(36 + data.length, 4); wav.write('WAVEfmt ', 8); wav.writeUInt32LE(16, 16);
  wav.writeUInt16LE(1, 20); wav.writeUInt16LE(1, 22); wav.writeUInt32LE(8000, 24); wav.writeUInt32LE(16000, 28);
  wav.writeUInt16LE(2, 32); wav.writeUInt16LE(16, 34); wav.write('data', 36); wav.writeUInt32LE(data.length, 40);
  return Buffer.concat([wav, data]);
}
