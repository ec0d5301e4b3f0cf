// ports.cgi: the ports of the services, each refused beside its field where another service has it.
import assert from "node:assert/strict";
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { assertSessionRefused, keepSettings, login, makeAccounts, run, settings, settingsFile } from "./program.mjs";
import { ask, filesNow, freePorts, hostFiles, makePage, startSites, writeHosts } from "./sites.mjs";

const kInvalid = "The field is not valid.";
const kConflict = "Another service has this port.";
// Each service by the name that the check of ports knows: its ports, and the ends of its range.
const services = {
  adminUI: { ports: ["admin_port", "secure_admin_port"] },
  http: { ports: ["httpport"] },
  https: { ports: ["httpsport"] },
  ftp: { ports: ["ftpport"], range: ["ftplowport", "ftphighport"] },
  download: { ports: [], range: ["download_start_port", "download_end_port"] },
  surveillance: { ports: [], range: ["surveillance_low_port", "surveillance_high_port"] },
  cfs: { ports: ["cfs_httpport", "cfs_httpsport"] },
};
const fieldsOf = ({ ports, range = [] }) => [...ports, ...range];
const kFields = Object.values(services).flatMap(fieldsOf);
// Far from each other: 30100, 30200, ...; both ends of a range are one port.
const values = Object.fromEntries(kFields.map((field, i) => [field, String(30100 + 100 * i)]));
for (const { range } of Object.values(services)) if (range) values[range[1]] = values[range[0]];
const kPort = "40000";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => {
  writeSettings({});
  writeHosts([]);
});

const others = readFileSync(settingsFile, "utf8").replace(/^\w*port\w*=.*\n/gm, "");
const writeSettings = (changed) =>
  writeFileSync(settingsFile, others + Object.entries({ ...values, ...changed }).map(([key, value]) => `${key}="${value}"\n`).join(""));
const ofService = (name) => Object.fromEntries(fieldsOf(services[name]).map((field) => [field, values[field]]));
const apply = (service, changed = {}, request = {}) =>
  run("ports", { form: { action: "apply", service, ...(services[service] && ofService(service)), ...changed }, cookie, ...request }).json;
const refused = (field, message) => ({ errors: { [field]: message }, success: false });

test("Load gives the ports of all services", () => {
  assert.deepEqual(run("ports", { query: { action: "load" }, cookie }).json, { data: values, success: true });
});

for (const [name, { ports, range }] of Object.entries(services)) {
  test(`${name}: what is saved is stored, and the others' settings stay`, () => {
    const changed = Object.fromEntries(fieldsOf(services[name]).map((field, i) => [field, String(41000 + 10 * i)]));
    assert.deepEqual(apply(name, changed), { data: { ...values, ...changed }, success: true });
    assert.deepEqual(settings(), { ...settings(), ...values, ...changed });
  });

  test(`${name}: its own ports are no conflict`, () => {
    assert.equal(apply(name).success, true);
  });

  for (const field of fieldsOf(services[name])) {
    test(`${name}: ${field} takes a port only`, () => {
      const before = settings();
      for (const value of ["0", "65536", "-1", "8a", "", "99999999999999999999"]) assert.equal(apply(name, { [field]: value }).errors?.[field], kInvalid, value);
      assert.deepEqual(settings(), before);
    });
  }

  // A setting of each other service on the port that this one wants.
  for (const [other, { ports: taken, range: takenRange }] of Object.entries(services)) {
    // What is offered to HTTPS hosts belongs to nobody; their own ports are looked at below.
    if (other === name || other === "https") continue;
    for (const keys of [...taken.map((key) => [key]), ...(takenRange ? [takenRange] : [])]) {
      test(`${name}: a port of ${other} (${keys.join(" to ")}) is refused beside each field`, () => {
        writeSettings(Object.fromEntries(keys.map((key) => [key, kPort])));
        const before = settings();
        for (const field of ports) assert.deepEqual(apply(name, { [field]: kPort }), refused(field, kConflict));
        if (range) {
          const [low, high] = range;
          assert.deepEqual(apply(name, { [low]: kPort, [high]: kPort }), refused(high, kConflict));
          assert.deepEqual(apply(name, { [low]: "39990", [high]: kPort }), refused(high, kConflict), "at its end");
          assert.deepEqual(apply(name, { [low]: "39990", [high]: "40010" }), refused(low, kConflict), "in between");
          assert.equal(apply(name, { [low]: "39990", [high]: "39999" }).success, true, "beside it");
          writeSettings(Object.fromEntries(keys.map((key) => [key, kPort])));
        }
        assert.deepEqual(settings(), before);
      });
    }
  }

  // Ports of virtual hosts belong to "http" and "https".
  for (const [owner, vhosttype] of [["http", 0], ["https", 1]]) {
    test(`${name}: a port of ${owner} hosts is ${owner === name ? "its own" : "refused beside each field"}`, () => {
      writeHosts([{ vhosttype, port: Number(kPort), host: "a.example", folder: "a" }]);
      for (const field of ports) {
        const reply = apply(name, { [field]: kPort });
        if (owner === name) assert.equal(reply.success, true);
        else assert.deepEqual(reply, refused(field, kConflict));
        writeSettings({});
      }
      if (range) assert.deepEqual(apply(name, { [range[0]]: kPort, [range[1]]: "40100" }), refused(range[0], kConflict));
    });
  }
}

test("A range that another one spans is refused", () => {
  writeSettings({ ftplowport: "39000", ftphighport: "41000" });
  assert.deepEqual(apply("download", { download_start_port: kPort, download_end_port: "40010" }), refused("download_end_port", kConflict));
});

for (const [service, [first, second]] of [["adminUI", services.adminUI.ports], ["cfs", services.cfs.ports]]) {
  test(`${service}: its two ports differ`, () => {
    assert.deepEqual(apply(service, { [first]: kPort, [second]: kPort }), refused(second, "This port is taken by HTTP already."));
  });
}

test("A range goes upwards, and has no port of its own service inside", () => {
  for (const [service, { range }] of Object.entries(services)) {
    if (range) assert.deepEqual(apply(service, { [range[0]]: "40001", [range[1]]: kPort }), refused(range[1], "The last port lies before the first one."));
  }
  assert.deepEqual(apply("ftp", { ftpport: "40005", ftplowport: kPort, ftphighport: "40010" }), refused("ftpport", "This port lies in the service's own range."));
});

test("All fields that collide are told at once, in the user's language", () => {
  writeSettings({ ftpport: kPort, cfs_httpport: "40001" });
  const reply = apply("adminUI", { admin_port: kPort, secure_admin_port: "40001" }, { cookie: `${cookie}; lang=de` });
  const message = "Diesen Port hat ein anderer Dienst.";
  assert.deepEqual(reply, { errors: { admin_port: message, secure_admin_port: message }, success: false });
});

test("More ports of virtual hosts than the check looks at are a conflict", () => {
  writeHosts(Array.from({ length: 11 }, (_, i) => ({ vhosttype: 0, port: 20_001 + i, host: `h${i}.example`, folder: "a" })));
  assert.deepEqual(apply("cfs"), { errors: { cfs_httpport: kConflict, cfs_httpsport: kConflict }, success: false });
});

test("A new port of the web server stands in the virtual hosts' file, and is served", async () => {
  const [port, web] = await freePorts(2);
  makePage("a", "page of a");
  writeFileSync("/var/services/web/index.html", "all sites");
  const sites = await startSites();
  writeHosts([{ vhosttype: 0, port, host: "a.example", folder: "a" }]);
  assert.equal(apply("http", { httpport: String(web) }).success, true);
  assert.ok(filesNow()[0].includes(`<VirtualHost *:${web}>\nServerName *\n`));
  assert.equal((await ask(web, "anything.example")).text, "all sites");
  assert.equal((await ask(port, "a.example")).text, "page of a");
  await sites.stop();
});

test("When the virtual hosts cannot be written the web server keeps its port", () => {
  writeHosts([{ vhosttype: 0, port: 20_080, host: "a.example", folder: "a" }]);
  const before = filesNow();
  mkdirSync(`${hostFiles[0]}.tmp`);
  const reply = apply("http", { httpport: kPort });
  rmSync(`${hostFiles[0]}.tmp`, { recursive: true });
  assert.deepEqual(reply, { errinfo: { key: "error_hosts_not_saved", sec: "error" }, success: false });
  assert.equal(settings().httpport, values.httpport);
  assert.deepEqual(filesNow(), before);
});

test("An unknown service, a link, and an ordinary account change nothing", (t) => {
  keepSettings(t);
  const before = settings();
  for (const service of ["", "FTP", "ssh"]) assert.deepEqual(apply(service), { errinfo: { key: "error_unknown_service", sec: "error" }, success: false });
  assert.equal(run("ports", { query: { action: "apply", service: "ftp", ...ofService("ftp") }, cookie }).status, 405);
  assertSessionRefused(run("ports", { form: { action: "apply", service: "ftp" }, cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assert.deepEqual(settings(), before);
});
