// upload.cgi and new_folder.cgi on a volume without room, and into a share on another volume than the one that uploads are
// staged on.
import assert from "node:assert/strict";
import { randomBytes } from "node:crypto";
import { readdirSync, readFileSync, rmSync, statSync } from "node:fs";
import { before, test } from "node:test";
import { fillDisk } from "./full_disk.mjs";
import { assertRefused, hasOneId, kBodyType, login, makeAccounts, makeShare, part, run, wholeBody } from "./program.mjs";

const kStaging = "/volume1/@tmp";
let cookie;

before(() => {
  makeAccounts();
  makeShare("inbox");
  makeShare("other", { path: "/volume2/other" });
  cookie = login("anna");
});

const send = (path, name, content) => run("upload", { query: { path }, body: wholeBody(part(`name="file"; filename="${name}"`, content)), type: kBodyType, cookie });
const make = (path, name) => run("new_folder", { form: { path, name }, cookie });

test("A file that does not fit leaves nothing, and the next one is received", () => {
  const refused = send("/inbox", "large", Buffer.alloc(6 * 1024 * 1024, "x"));
  assertRefused(refused, "upload", "error_not_received", 507);
  assert.equal(refused.headers.get("x-request-refused"), "upload_storage");
  assert.deepEqual([readdirSync("/volume1/inbox"), readdirSync(kStaging)], [[], []]);
  assert.equal(send("/inbox", "small", "content").json.success, true);
});

test("Another volume gets a copy, with the rights that the folder hands down", () => {
  const content = randomBytes(900_000);
  assert.deepEqual(send("/other", "copied", content).json.data, { name: "copied", size: content.length });
  assert.ok(readFileSync("/volume2/other/copied").equals(content));
  assert.equal(statSync("/volume2/other/copied").uid >= 1024, !hasOneId());
  assertRefused(send("/other", "copied", "x"), "files", "error_taken", 409);
  assert.deepEqual(readdirSync(kStaging), []);
  rmSync("/volume2/other/copied");
});

test("A copy that does not fit is never seen", () => {
  fillDisk("/volume2/filler", 500_000);
  assertRefused(send("/other", "large", Buffer.alloc(900_000, "x")), "files", "error_no_room", 507);
  assert.deepEqual([readdirSync("/volume2/other"), readdirSync(kStaging)], [[], []]);
  rmSync("/volume2/filler");
  assert.equal(make("/other", "new").json.success, true);
});
