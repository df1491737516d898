// Bundles the charts' script: node build.mjs PACKAGES OUTPUT
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const [packages, output] = process.argv.slice(2).map((path) => resolve(path));
const modules = join(packages, "node_modules");
const esbuild = createRequire(join(packages, "package.json"))("esbuild");

const result = await esbuild.build({
  entryPoints: [join(dirname(fileURLToPath(import.meta.url)), "src", "main.js")],
  nodePaths: [modules],
  bundle: true,
  minify: true,
  charset: "ascii",
  format: "iife",
  target: "es2021",
  metafile: true,
  write: false,
  logLevel: "warning",
});

// The packages of which the bundle contains code.
function bundled() {
  const names = new Set();
  const [{ inputs }] = Object.values(result.metafile.outputs);
  for (const [path, { bytesInOutput }] of Object.entries(inputs)) {
    const name = /.*node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(path)?.[1];
    if (name && bytesInOutput > 0) names.add(name);
  }
  return [...names].sort();
}

// The packages' licences must be part of every copy of their code, so of every page.
function licences() {
  const texts = new Map();
  for (const name of bundled()) {
    const directory = join(modules, name);
    const { version, license } = JSON.parse(readFileSync(join(directory, "package.json")));
    const file = readdirSync(directory).find((entry) => /^licen[cs]e/i.test(entry));
    const text = file ? readFileSync(join(directory, file), "utf8").trim() : license;
    texts.set(text, [...(texts.get(text) ?? []), `${name} ${version}`]);
  }
  return [...texts].map(([text, names]) => `${names.join(", ")}:\n\n${text}`).join("\n\n\n");
}

const notice = licences().replaceAll("*/", "* /").replace(/\r/g, "");
const script = `/*\nThis script contains:\n\n${notice}\n*/\n${result.outputFiles[0].text}`;
for (const ending of ["</script", "<!--"]) {
  if (script.toLowerCase().includes(ending)) throw new Error(`the bundle contains ${ending}`);
}
writeFileSync(output, script);
