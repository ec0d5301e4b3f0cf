// A disk without room: a memory disk (CMakeLists.txt makes it small) is filled up with one file.
import assert from "node:assert/strict";
import { closeSync, fstatSync, ftruncateSync, openSync, writeSync } from "node:fs";

/// Fills the disk that holds `file`, up to `left` bytes, by writing it; removing it makes room again.
export function fillDisk(file, left = 0) {
  const opened = openSync(file, "w");
  const block = Buffer.alloc(1024);
  let full = false;
  for (let count = 0; count < 4096 && !full; ++count) {
    try {
      writeSync(opened, block);
    } catch (error) {
      assert.equal(error.code, "ENOSPC");
      full = true;
    }
  }
  ftruncateSync(opened, fstatSync(opened).size - left);
  closeSync(opened);
  assert.ok(full, "the disk is larger than meant");
}
