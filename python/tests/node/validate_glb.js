// Prints what the validator of the Khronos Group says about a GLB file, as JSON.
const { readFileSync } = require("fs");
const { validateBytes } = require("gltf-validator");

validateBytes(new Uint8Array(readFileSync(process.argv[2]))).then((report) =>
  console.log(JSON.stringify(report)),
);
