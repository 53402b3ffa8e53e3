// SPDX-License-Identifier: MIT
// Whether the dry run of this package tells what that of the Python package tells, which is held against the program: reads lines
// of JSON, [request, ends, keys that nobody reads], and compares. Without a file it has nothing to do.
import assert from "node:assert/strict";
import { createReadStream } from "node:fs";
import { createInterface } from "node:readline";
import { dryRun, unknownKeys } from "../dist/dry-run.js";

let same = 0;
const other = [];
for await (const line of createInterface({ input: createReadStream(process.argv[2]) })) {
  const [request, ends, strangers] = JSON.parse(line);
  try {
    const seen = dryRun(request).map((end) => [end.reply, end.code, end.text ?? null, end.object, end.state,
      end.writes.map(({ item, state }) => [item, state]), end.committed, end.restarts]);
    assert.deepEqual(seen, ends);
    assert.deepEqual(unknownKeys(request).map(({ key, meant }) => [key, meant ?? ""]), strangers);
    same += 1;
  } catch (error) {
    other.push(`${line.slice(0, 200)}\n${error.message}`);
  }
}
console.log(other.slice(0, 5).join("\n\n"));
console.log(`${same} agree, ${other.length} differ`);
process.exit(other.length || !same ? 1 : 0);
