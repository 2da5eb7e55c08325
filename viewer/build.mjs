// Checks the types of the viewer, bundles it, and writes it as a source of the library that makes pages (out/shell.cpp).
// Usage: node build.mjs [--no-check]
import {execFileSync} from 'node:child_process';
import {mkdirSync, writeFileSync} from 'node:fs';
import * as esbuild from 'esbuild';

if (!process.argv.includes('--no-check'))
  execFileSync(process.execPath, ['node_modules/typescript/bin/tsc', '--noEmit', '-p', '.'], {stdio: 'inherit'});

const common = {bundle: true, write: false, minify: true, target: ['chrome100', 'firefox113', 'safari16.4'], charset: 'ascii'};
const script = await esbuild.build({...common, entryPoints: ['src/main.ts'], format: 'iife', legalComments: 'eof'});
const style = await esbuild.build({...common, entryPoints: ['src/style.css']});
mkdirSync('out', {recursive: true});

/** The bytes as the elements of an array, which every compiler takes, however many there are. */
function bytes(text) {
  const lines = [];
  const data = Buffer.from(text, 'utf8');
  for (let at = 0; at < data.length; at += 64) lines.push(Array.from(data.subarray(at, at + 64)).join(','));
  return lines.join(',\n');
}

// Nothing in the script may end the element that it stands in.
const code = script.outputFiles[0].text.replace(/<\/(script)/gi, '<\\/$1').replace(/<!--/g, '<\\!--');
writeFileSync('out/viewer.js', code);
writeFileSync('out/shell.cpp', `// Made by viewer/build.mjs.
#include "shell.h"
namespace sbrview {
namespace {
const unsigned char kStyle[] = {${bytes(style.outputFiles[0].text)}};
const unsigned char kScript[] = {${bytes(code)}};
}
std::string_view shell_style() { return {reinterpret_cast<const char *>(kStyle), sizeof kStyle}; }
std::string_view shell_script() { return {reinterpret_cast<const char *>(kScript), sizeof kScript}; }
}
`);

// The unit tests run in node: each file is bundled with what it tests.
await esbuild.build({entryPoints: ['tests/unit/*.test.ts'], bundle: true, platform: 'node', format: 'esm',
                     target: 'node18', outdir: 'out/unit', outExtension: {'.js': '.mjs'}});
