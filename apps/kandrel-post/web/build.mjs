// Builds the page's template, one file that needs nothing besides: node build.mjs OUT.html
// A run is put in place of the comment that kPlace names, which stands in it once.

import {mkdirSync, readFileSync, writeFileSync} from 'node:fs';
import {dirname, join, resolve} from 'node:path';
import {fileURLToPath} from 'node:url';

import {build} from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));
const kPlace = '<!--KANDREL-RUN-->';

const read = (path) => readFileSync(join(here, path), 'utf8');

// Everything bundled that stands below node_modules, with its licence.
function packagesOf(metafile) {
  const names = new Set(['uplot']);
  for (const path of Object.keys(metafile.inputs)) {
    const found = /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(path);
    if (found) names.add(found[1]);
  }
  return [...names].sort().map((name) => {
    const about = JSON.parse(read(`node_modules/${name}/package.json`));
    const text = read(`node_modules/${name}/LICENSE`).replace(/\u00a9/g, '(c)').trim();
    return {title: `${name} ${about.version}, ${about.license} licence`, text};
  });
}

// Puts texts in the place of marks, each of which stands once.
function fill(text, parts) {
  for (const [mark, part] of Object.entries(parts)) {
    const pieces = text.split(mark);
    if (pieces.length !== 2) throw new Error(`${mark} stands ${pieces.length - 1} times, not once`);
    text = pieces.join(part);
  }
  return text;
}

const escapeHtml = (text) =>
  text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');

async function main() {
  const target = process.argv[2];
  if (!target || process.argv.length > 3) {
    console.error('Usage: node build.mjs OUT.html');
    return 2;
  }
  const bundle = await build({
    entryPoints: [join(here, 'src/page.js')],
    bundle: true,
    minify: true,
    write: false,
    metafile: true,
    format: 'iife',
    charset: 'ascii',
    legalComments: 'none',
    target: ['chrome100', 'firefox100', 'safari15'],
    absWorkingDir: here,
  });
  const style = await build({
    stdin: {
      contents: fill(read('src/page.css'), {'/*UPLOT*/': read('node_modules/uplot/dist/uPlot.min.css')}),
      loader: 'css',
    },
    minify: true,
    write: false,
    charset: 'ascii',
  });
  const packages = packagesOf(bundle.metafile);
  const licences = packages.map(({title, text}) => `${title}\n\n${text}\n`).join('\n\n');
  const script = bundle.outputFiles[0].text.trim();
  if (/<\/script|<!--/i.test(script)) throw new Error('the script would end its element');
  const page = fill(read('src/page.html').replace(/^ +/gm, ''), {
    '/*STYLE*/': style.outputFiles[0].text.trim(),
    '<!--LICENCES-->': escapeHtml(licences),
    '/*SCRIPT*/': script,
  });
  if (page.split(kPlace).length !== 2) throw new Error(`${kPlace} has to stand once`);
  const foreign = /[^\t\n\x20-\x7e]/.exec(page);
  if (foreign) throw new Error(`not ASCII: ${page.slice(foreign.index - 30, foreign.index + 30)}`);
  mkdirSync(dirname(resolve(target)), {recursive: true});
  writeFileSync(target, page);
  console.log(`${target}: ${Math.ceil(page.length / 1024)} KB, with ` +
    packages.map(({title}) => title).join('; '));
  return 0;
}

process.exitCode = await main();
