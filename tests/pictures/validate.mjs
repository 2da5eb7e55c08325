// validate.mjs FILE...: the validator of the format's makers finds nothing in the files, not even something to remark.
import {createRequire} from 'node:module';
import {readFileSync} from 'node:fs';

// The package lies where it was installed, which is not here.
const {validateBytes} = createRequire(process.env.SBRKIT_PICTURE_PACKAGES + '/')('gltf-validator');
let findings = 0;
for (const file of process.argv.slice(2)) {
  const {issues, info} = await validateBytes(new Uint8Array(readFileSync(file)), {maxIssues: 20});
  findings += issues.messages.length;
  for (const {severity, code, message, pointer} of issues.messages)
    console.log(`${file}: ${severity} ${code} at ${pointer}: ${message}`);
  console.log(`${file}: ${info.animationCount} animations, ${info.totalVertexCount} vertices`);
}
process.exit(findings === 0 && process.argv.length > 2 ? 0 : 1);
