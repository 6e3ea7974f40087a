// Bundles the viewer into one script: node build.js TARGET
import { readFile, rename, writeFile } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import path from "node:path";
import { build } from "esbuild";

const here = path.dirname(fileURLToPath(import.meta.url));
const target = path.resolve(process.argv[2] ?? path.join(here, "../morvel/_viewer.js"));

// The licence asks that its whole text goes with every copy.
const three = path.join(here, "node_modules/three");
const { version } = JSON.parse(await readFile(path.join(three, "package.json"), "utf8"));
const licence = (await readFile(path.join(three, "LICENSE"), "utf8")).trim();

const result = await build({
  entryPoints: [path.join(here, "viewer.js")],
  bundle: true,
  minify: true,
  format: "iife",
  target: "es2022",
  charset: "ascii",
  loader: { ".css": "text" },
  legalComments: "inline",
  banner: { js: `/*! three ${version}\n\n${licence}\n*/` },
  write: false,
});

const script = result.outputFiles[0].text;
if (/<\/script|<!--/i.test(script)) throw new Error("the bundle would end the element it stands in");
// Whole or not at all: the package may be imported meanwhile.
await writeFile(`${target}.part`, script);
await rename(`${target}.part`, target);
