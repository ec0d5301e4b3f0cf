// appliance/translate_hosts: the library's virtual-host files for today's web server, whatever stands in them.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { test } from "node:test";

const kProgram = "/usr/kest/bin/translate_hosts";
const kHttp = "/tmp/http-hosts";
const kHttps = "/tmp/https-hosts";
const kErrors = [403, 404, 500].map((status) => `    ErrorDocument ${status} "/webdefault/sample.php?status=${status}"\n`).join("");

const block = (port, name, root, more = "") => `<VirtualHost *:${port}>\nServerName ${name}\nDocumentRoot ${root}\n${more}</VirtualHost>\n`;
const host = (port, name, folder) => block(port, name, `"/var/services/web/${folder}"`, kErrors.replaceAll("    ", ""));
const translatedHost = (port, name, folder) =>
  `<VirtualHost *:${port}>\n    ServerName ${name}\n    DocumentRoot "/var/services/web/${folder}"\n${kErrors}</VirtualHost>\n`;

function translate(http, https = "", options = []) {
  for (const [file, text] of [[kHttp, http], [kHttps, https]]) {
    rmSync(file, { recursive: true, force: true });
    if (text !== null) writeFileSync(file, text);
  }
  return run(options);
}

function run(options = []) {
  const ended = spawnSync(kProgram, [...options, "127.0.0.1", kHttp, kHttps], { encoding: "latin1", maxBuffer: 256 * 1024 * 1024 });
  const left = ended.stderr.split("\n").filter(Boolean).map((line) => line.split("\t"));
  return { status: ended.status, text: ended.stdout.replace(/^Define site_dollar \$\n/, ""), left };
}

test("A host on a port of its own is translated, and its port is opened on one address", () => {
  const { status, text, left } = translate(`Listen 8080\nNameVirtualHost *:8080\n${host(8080, "shop.example", "shop")}`);
  assert.deepEqual([status, left], [0, []]);
  assert.equal(text, `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "shop.example", "shop")}`);
});

test("The appliance's own host answers for every name of its port, and first", () => {
  const text = `NameVirtualHost *:80\n${block(80, "*", "/var/services/web")}${host(80, "a.example", "a")}`;
  assert.equal(
    translate(text).text,
    `Listen 127.0.0.1:80 http\n<VirtualHost *:80>\n    DocumentRoot "/var/services/web"\n</VirtualHost>\n${translatedHost(80, "a.example", "a")}`,
  );
});

test("The appliance's own host on port 0, where no port is set, is left out in silence", () => {
  assert.deepEqual(translate(block(0, "*", "/var/services/web")), { status: 0, text: "", left: [] });
});

test("An HTTPS host gets the certificate, and none without one", () => {
  const file = `Listen 8443\n${block(8443, "s.example", '"/var/services/web/s"', `${kErrors}SSLEngine on\n`)}`;
  const { text, left } = translate("", file, ["--certificate", "/c.crt", "/c.key"]);
  assert.deepEqual(left, []);
  assert.match(text, /^Listen 127\.0\.0\.1:8443 https\n/);
  assert.match(text, /\n    SSLEngine on\n    SSLCertificateFile "\/c\.crt"\n    SSLCertificateKeyFile "\/c\.key"\n<\/VirtualHost>\n$/);
  assert.deepEqual(translate("", file).left, [["8443", "s.example", "needs a certificate, and there is none"]]);
});

test("A port that cannot be opened takes its hosts along, and no others", () => {
  const { text, left } = translate(host(81, "a.example", "a") + host(8080, "b.example", "b"), "", ["--without", "81"]);
  assert.equal(text, `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "b.example", "b")}`);
  assert.deepEqual(left, [["81", "a.example", "has a port that cannot be opened"]]);
});

test("An HTTPS host on a port of HTTP hosts is left out", () => {
  const https = block(8080, "s.example", '"/var/services/web/s"', "SSLEngine on\n");
  const { text, left } = translate(host(8080, "a.example", "a"), https, ["--certificate", "/c", "/k"]);
  assert.equal(text, `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "a.example", "a")}`);
  assert.deepEqual(left, [["8080", "s.example", "has a port of HTTP hosts"]]);
});

// What a folder is called, and how it is written for the web server.
const folders = [
  ["two words", "two words"],
  ['a"b', 'a\\"b'],
  ['"', '\\"'],
  ["a\\", "a\\\\"],
  ["a\\nb", "a\\\\nb"],
  ["${PATH}", "${site_dollar}{PATH}"],
  ["$$", "${site_dollar}${site_dollar}"],
  ["%{HTTP_HOST}e", "%{HTTP_HOST}e"],
  ["</VirtualHost>", null],
  ["#a", "#a"],
  ["';rm -rf *", "';rm -rf *"],
  ["gr\u00fcn".normalize(), "gr\u00c3\u00bcn"],
  [".", null],
  ["..", null],
  ["", null],
  ["a/b", null],
  ["a/../../etc", null],
  ["a\tb", null],
  ["a\u007f", null],
  ["a\u0000b", null],
  ["x".repeat(255), "x".repeat(255)],
  ["x".repeat(256), null],
];
for (const [folder, written] of folders) {
  test(`A folder ${JSON.stringify(folder.slice(0, 40))} of ${folder.length} is ${written === null ? "no site's" : "quoted"}`, () => {
    const { status, text, left } = translate(Buffer.from(host(8080, "a.example", folder)));
    assert.equal(status, 0);
    if (written === null) {
      assert.equal(text, "");
      assert.deepEqual(left, [["8080", "a.example", "has a folder that cannot be one of a site"]]);
    } else {
      assert.equal(text, `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "a.example", written)}`);
    }
  });
}

const names = [
  ["localhost", true],
  ["a-b_c.example", true],
  ["192.0.2.1", true],
  ["1a", true],
  ["91", false],
  ["a.91", false],
  ["192.0.2", false],
  ["192.0.2.256", false],
  ["192.0.2.01", false],
  ["x".repeat(63), true],
  ["x".repeat(64), false],
  [Array.from({ length: 63 }, () => "abc").join("."), true],
  [Array.from({ length: 64 }, () => "abc").join("."), false],
  ["a..b", false],
  [".a", false],
  ["a.", false],
  ["-a", false],
  ["a-", false],
  ["a b", false],
  ['a"b', false],
  ["*", false],
  ["*.example", false],
  ["${PATH}", false],
  ["b\u00fccher.example", false],
  ["a\u0000", false],
  ["a;b", false],
  ["[::1]", false],
  ["http://a", false],
];
for (const [name, served] of names) {
  test(`A host called ${JSON.stringify(name.slice(0, 40))} of ${name.length} is ${served ? "served" : "left out"}`, () => {
    const { text, left } = translate(Buffer.from(host(8080, name, "a")));
    assert.equal(text, served ? `Listen 127.0.0.1:8080 http\n${translatedHost(8080, name, "a")}` : "");
    assert.equal(left.length, served ? 0 : 1);
  });
}

test("A port behind a name is taken off", () => {
  assert.equal(translate(host(8080, "alpha:8080", "a")).text, `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "alpha", "a")}`);
});

for (const port of ["0", "65536", "99999999999999999999", "08080"]) {
  test(`Port ${port} is none`, () => {
    assert.deepEqual(translate(host(port, "a.example", "a")), { status: 0, text: "", left: [[port.slice(0, 10), "a.example", "has no such port"]] });
  });
}

// Names with line breaks: each would put a directive into the file of old.
const breakouts = [
  ["a host that includes a file", host(8080, "x\nInclude /etc/passwd", "a")],
  ["a host that ends its block and goes on", host(8080, "x\n</VirtualHost>\nAlias / /etc/", "a")],
  ["a host with a second folder", host(8080, 'x\nDocumentRoot "/var/services/web/b"', "a")],
  ["a host with a second name", host(8080, "x\nServerName y", "a")],
  ["a folder that allows everything", host(8080, "x", 'a"\n<Directory "/">\nRequire all granted\n</Directory>\n#')],
  ["a host that switches HTTPS on", host(8080, "x\nSSLEngine on", "a")],
  ["a folder that continues its line", host(8080, "x", 'a"\\\n"')],
  ["a root elsewhere", block(8080, "x", '"/etc"')],
  ["a root without quotation marks", block(8080, "x", "/var/services/web/a")],
];
for (const [what, file] of breakouts) {
  test(`${what}: nothing of it becomes a directive, and the next host is served`, () => {
    const { status, text, left } = translate(file + host(8081, "next.example", "next"));
    assert.equal(status, 0);
    assert.equal(text, `Listen 127.0.0.1:8081 http\n${translatedHost(8081, "next.example", "next")}`);
    assert.ok(left.length >= 1);
  });
}

test("What is told of a host that is left out has no control characters", () => {
  assert.deepEqual(translate(Buffer.from(host(8080, "a\u001b[31m\u0000", "a"))).left, [["8080", "a?[31m?", "has a name that no browser can ask for"]]);
});

const whole = host(8080, "a.example", "a");
const files = [
  ["missing", null, ""],
  ["empty", "", ""],
  ["without a final newline", whole.trimEnd(), "a"],
  ["with CR LF line ends", whole.replaceAll("\n", "\r\n"), "a"],
  ["with comments and blank lines", `# by hand\n\n  ${whole.replaceAll("\n", "\n\t")}`, "a"],
  ["of NUL bytes", "\0".repeat(4096), ""],
  ["with one line of 1 MiB", `${"x".repeat(1024 * 1024)}\n${whole}`, "a"],
  ["with half a block at its end", whole + whole.replaceAll("8080", "8081").slice(0, 60), "a"],
];
for (const [what, file, served] of files) {
  test(`A file ${what} is read as far as it goes`, () => {
    const { status, text } = translate(file);
    assert.equal(status, 0);
    assert.equal(text, served ? `Listen 127.0.0.1:8080 http\n${translatedHost(8080, "a.example", "a")}` : "");
  });
}

test("A block cut off at any byte is no host", () => {
  for (let length = 0; length < whole.length - 1; ++length) {
    assert.equal(translate(whole.slice(0, length)).text, "", `${length} bytes`);
  }
});

test("A directory, and a file beyond all measure, is a failure that says so", () => {
  translate("");
  rmSync(kHttp);
  mkdirSync(kHttp);
  assert.deepEqual(run(), { status: 1, text: "", left: [["translate_hosts: /tmp/http-hosts: not a file"]] });
  const { status, left } = translate("#\n".repeat(9 * 1024 * 1024));
  assert.equal(status, 1);
  assert.match(left[0][0], /larger than/);
});

test("A file that may not be read is a failure that says so", { skip: process.getuid() === 0 && "root reads everything" }, () => {
  translate(whole);
  chmodSync(kHttp, 0);
  const { status, text, left } = run();
  assert.equal(status, 1);
  assert.equal(text, "");
  assert.match(left[0][0], /Permission denied/);
});

test("Ten thousand hosts are translated, and each port is opened once", () => {
  const many = Array.from({ length: 10_000 }, (_, i) => host(8000 + (i % 100), `h${i}.example`, `f${i}`)).join("");
  const { text, left } = translate(many);
  assert.deepEqual(left, []);
  assert.equal(text.match(/^Listen /gm).length, 100);
  assert.equal(text.match(/^ {4}ServerName /gm).length, 10_000);
});

test("The files are only read", () => {
  translate(whole, whole);
  const before = [kHttp, kHttps].map((file) => readFileSync(file, "utf8"));
  run();
  assert.deepEqual([kHttp, kHttps].map((file) => readFileSync(file, "utf8")), before);
});
