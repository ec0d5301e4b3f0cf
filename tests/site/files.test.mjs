// The file manager: what a person sees in the folders, downloads, uploads, and films in which one seeks.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { randomBytes } from "node:crypto";
import { mkdir, readdir, readFile, rm, writeFile } from "node:fs/promises";
import { test } from "node:test";
import { drawFilm, webm } from "./film.mjs";
import { withSite } from "./harness.mjs";
import { focused, goByNavigation, holdPosts, tabTo } from "./person.mjs";
import { quiet } from "./traffic.mjs";

const kPhone = "Mozilla/5.0 (Linux; Android 13; Pixel 7) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/124.0.0.0 Mobile Safari/537.36";

const kShares = ["My own folder", "music", "office", "photoread only", "public"];

const names = (page) => page.locator("#items .name").allTextContents();
const shows = (page, name) => page.waitForFunction((text) => [...document.querySelectorAll("#crumbs [aria-current]")].some((crumb) => crumb.textContent === text), name);

async function openFiles({ page, url }, folder) {
  await page.goto(`${url}/files.html${folder ? `#${encodeURIComponent(folder)}` : ""}`);
  // Rows of another folder may still be there; the way to a folder comes together with its rows.
  if (folder) await shows(page, folder.split("/").at(-1));
  else await page.waitForSelector("#items tr");
  // Another page of the same folder may still be there.
  await quiet(page);
}

test("A person finds a file by keyboard, looks at it and goes back", () =>
  withSite("files", async ({ page, url, login, shot }) => {
    await login("anna");
    await page.goto(`${url}/`);
    await page.waitForSelector("html:not(.waiting)");
    await goByNavigation(page, "/files.html");
    await page.waitForSelector("#items tr");
    assert.deepEqual(await names(page), kShares);
    assert.equal(await page.isVisible("#archive"), false, "the shares are no folder together");
    await tabTo(page, '#items a[href="#%2Fpublic"]');
    await page.keyboard.press("Enter");
    await shows(page, "public");
    assert.deepEqual(await names(page), ["chime.wav", "clock.webm", "hills.jpg", "welcome.txt"]);
    assert.equal(await page.evaluate(() => document.activeElement.id), "folder", "the folder has the focus");
    await shot("folder");
    await tabTo(page, 'a[href$="hills.jpg"]');
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => document.querySelector("#preview-stage img")?.naturalWidth === 960);
    await shot("picture");
    await tabTo(page, "#preview-close");
    await page.keyboard.press("Enter");
    assert.match(await page.evaluate(() => document.activeElement.href), /hills\.jpg$/, "the file has the focus again");
    await page.click('a[href$="chime.wav"]');
    await page.waitForFunction(() => document.querySelector("#preview-stage audio")?.duration === 2);
    await page.goBack();
    await page.waitForSelector("#items tr.share");
    assert.equal(await page.isVisible("#preview"), false);
  }));

test("A folder of everything odd, in German, of many pages", () =>
  withSite(
    "files-odd",
    async (site) => {
      const { page, login, shot, state } = site;
      const folder = `${state}/volume1/public/Gr\u00fc\u00dfe "&amp; 100%`;
      await mkdir(`${folder}/<b>deep<`, { recursive: true });
      await mkdir(`${folder}/empty`);
      await writeFile(`${folder}/<img src=x onerror=alert(1)>.txt`, "x".repeat(1_234_567));
      await writeFile(Buffer.concat([Buffer.from(`${folder}/`), Buffer.from([0xff]), Buffer.from(".bin")]), "bytes that are no text");
      await writeFile(`${folder}/${"long ".repeat(40)}`, "");
      for (let i = 0; i < 230; ++i) await writeFile(`${folder}/z${String(i).padStart(3, "0")}`, "");
      await login("anna");
      await openFiles(site, '/public/Gr\u00fc\u00dfe "&amp; 100%');
      assert.equal(await page.textContent("#crumbs [aria-current]"), 'Gr\u00fc\u00dfe "&amp; 100%');
      const shown = await names(page);
      assert.equal(shown.length, 100);
      assert.deepEqual(shown.slice(0, 3), ["<b>deep<", "empty", "<img src=x onerror=alert(1)>.txt"]);
      assert.equal(await page.locator("#items img, #items b").count(), 0, "a name is a text, whatever it holds");
      assert.equal(await page.textContent("#items tr:nth-child(3) .size"), "1,2 MB");
      assert.equal(await page.textContent("h1"), "Dateien");
      await shot("first");
      await page.click("#next");
      await page.waitForFunction(() => document.getElementById("position").textContent.startsWith("101"));
      await page.click("#next");
      await page.waitForFunction(() => document.getElementById("position").textContent.startsWith("201"));
      assert.equal(await page.textContent("#position"), "201\u2013235 / 235");
      assert.equal(await page.isDisabled("#next"), true);
      const odd = page.locator("#items a.fetch", { hasText: "\ufffd.bin" });
      const [download] = await Promise.all([page.waitForEvent("download"), odd.click()]);
      assert.equal(await readFile(await download.path(), "utf8"), "bytes that are no text");
      await openFiles(site, '/public/Gr\u00fc\u00dfe "&amp; 100%');
      await page.click("#items tr:nth-child(2) a");
      await shows(page, "empty");
      await page.waitForFunction(() => document.getElementById("status").textContent === "Dieser Ordner ist leer.");
      await page.click('.languages button[lang="en"]');
      await page.waitForFunction(() => document.getElementById("status").textContent === "This folder is empty.");
    },
    { context: { locale: "de-DE" } },
  ));

test("What the account may not see is said, and a link from elsewhere leads nowhere", () =>
  withSite("files-refused", async ({ page, url, login }) => {
    await login("anna");
    for (const [path, said] of [
      ["/homes/bernd", "Your account may not reach this."],
      ["/nowhere", "Your account may not reach this."],
      ["/public/nothing", "There is no such file or folder any more."],
      ["/public/welcome.txt", "This is not a folder."],
    ]) {
      await page.goto(`${url}/files.html#${encodeURIComponent(path)}`);
      await page.reload();
      await page.waitForSelector("#notice.error");
      assert.equal(await page.textContent("#notice"), said);
      assert.equal(await page.locator("#items tr").count(), 0);
    }
    await page.goto(`${url}/files.html#"><script>alert(1)</script>`);
    await page.reload();
    await page.waitForSelector("#items tr");
    assert.deepEqual(await names(page), kShares);
  }));

test("A file and a folder are saved byte for byte", () =>
  withSite("files-saved", async (site) => {
    const { page, login, state } = site;
    const content = randomBytes(3_000_000);
    await mkdir(`${state}/volume1/public/saved`);
    await writeFile(`${state}/volume1/public/saved/large file.bin`, content);
    await login("anna");
    await openFiles(site, "/public/saved");
    const saved = async (selector) => {
      const [download] = await Promise.all([page.waitForEvent("download"), page.click(selector)]);
      return { name: download.suggestedFilename(), bytes: await readFile(await download.path()) };
    };
    const file = await saved("#items tr:first-child a.fetch");
    assert.equal(file.name, "large file.bin");
    assert.ok(file.bytes.equals(content));
    const archive = await saved("#archive");
    assert.equal(archive.name, "saved.tar");
    const unpacked = spawnSync("tar", ["--extract", "--to-stdout", "saved/large file.bin"], { input: archive.bytes, maxBuffer: 2 * content.length });
    assert.ok(unpacked.stdout.equals(content), String(unpacked.stderr));
    const reply = await page.request.get(`${site.url}/cgi/download.cgi?path=/public/welcome.txt`);
    assert.match(reply.headers()["content-security-policy"], /^sandbox; default-src 'none'/, "the site's own policy does not replace it");
  }));

test("In a film one seeks, and only what is needed is fetched", () =>
  withSite("files-film", async (site) => {
    const { page, url, login, state, shot } = site;
    await login("anna");
    await page.goto(`${url}/`);
    const film = webm(await drawFilm(page, { seconds: 12 }), { paddingBytes: 6_000_000 });
    await writeFile(`${state}/volume1/public/far.webm`, film);
    const replies = [];
    page.on("response", (reply) => {
      if (reply.url().includes("far.webm")) replies.push({ status: reply.status(), range: reply.headers()["content-range"] });
    });
    await openFiles(site, "/public");
    await page.click('#items .name a[href$="far.webm"]');
    await page.waitForFunction(() => document.querySelector("#preview video")?.readyState >= 2);
    assert.equal(await page.evaluate(() => document.querySelector("#preview video").duration), 12);
    const seeked = await page.evaluate(async () => {
      const video = document.querySelector("#preview video");
      const arrived = new Promise((resolve) => video.addEventListener("seeked", resolve, { once: true }));
      video.currentTime = 10.5;
      await arrived;
      // The picture of then, not of the beginning: the clock's ground turns from petrol to violet.
      const canvas = new OffscreenCanvas(320, 180);
      const pen = canvas.getContext("2d");
      pen.drawImage(video, 0, 0);
      const [red, green, blue] = pen.getImageData(5, 5, 1, 1).data;
      return { time: video.currentTime, red, green, blue };
    });
    assert.equal(seeked.time, 10.5);
    assert.ok(seeked.green < seeked.red && seeked.red < seeked.blue, `not violet: ${JSON.stringify(seeked)}`);
    await shot("seeked");
    const starts = replies.map(({ status, range }) => {
      assert.equal(status, 206);
      return Number(/^bytes (\d+)-/.exec(range)[1]);
    });
    assert.equal(starts[0], 0);
    assert.ok(starts.some((start) => start > film.length * 0.7), `fetched from ${starts} of ${film.length}`);
    await page.goto(`${url}/cgi/download.cgi?path=/public/clock.webm`);
    await page.waitForFunction(() => document.querySelector("video")?.duration === 12);
    console.log(`film of ${film.length} bytes: fetched from ${starts}`);
  }));

// As long as a name can be, so that what ends it is cut off.
const kTooLong = "x".repeat(255);
const textOf = (page, selector) => page.textContent(selector);
const uploadsOver = (page, words) => page.waitForFunction((text) => document.getElementById("uploads-status").textContent === text, words);
const text = (name, content) => ({ name, mimeType: "text/plain", buffer: Buffer.from(content) });

test("A person makes a folder, sends files into it and is told what went wrong", () =>
  withSite("files-upload", async (site) => {
    const { page, login, state, shot } = site;
    await login("anna");
    await openFiles(site, "/public");
    await page.waitForSelector('#tree a[aria-current="page"]');
    await tabTo(page, "#make");
    await page.keyboard.press("Enter");
    await page.keyboard.type("a/b");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#name-error:not([hidden])");
    assert.equal(await focused(page), "name");
    await page.keyboard.press("Control+A");
    await page.keyboard.type("2024 <b>&");
    const made = await holdPosts(page, "new_folder");
    await page.keyboard.press("Enter");
    await page.keyboard.press("Enter");
    made.letGo();
    await page.waitForSelector("#notice.success");
    assert.equal(made.count(), 1, "whoever presses twice has pressed once");
    assert.equal(await textOf(page, "#notice"), "The folder 2024 <b>& has been made.");
    assert.equal(await focused(page), "make");
    await page.click("#tree a:text-is('2024 <b>&')");
    await shows(page, "2024 <b>&");
    await page.waitForFunction(() => document.getElementById("status").textContent === "This folder is empty.");

    await page.setInputFiles("#chosen", [text("one.txt", "first"), text("<b>two & \u00fc.txt", "second")]);
    await uploadsOver(page, "Uploaded: 2 / 2");
    await page.waitForFunction(() => document.querySelectorAll("#items tr").length === 2);
    assert.deepEqual(await names(page), ["<b>two & \u00fc.txt", "one.txt"]);
    assert.equal(await readFile(`${state}/volume1/public/2024 <b>&/one.txt`, "utf8"), "first");

    await page.setInputFiles("#chosen", [text("one.txt", "another"), text("three.txt", "third")]);
    await uploadsOver(page, "Uploaded: 3 / 4");
    assert.equal(await textOf(page, "#uploads-list .failed .upload-state"), "There is something of that name here already.");
    assert.equal(await readFile(`${state}/volume1/public/2024 <b>&/one.txt`, "utf8"), "first");
    await shot("uploaded");
    await page.click("#uploads-clear");
    assert.equal(await page.isVisible("#uploads"), false);

    await page.click("#tree a:text-is('My own folder')");
    await shows(page, "My own folder");
    await page.setInputFiles("#chosen", [text("mine.txt", "mine"), text(`${kTooLong}.txt`, "")]);
    await uploadsOver(page, "Uploaded: 2 / 2");
    assert.equal(await textOf(page, "#uploads-list li:last-child .upload-state"), `uploaded as ${kTooLong}`);
    assert.equal(await readFile(`${state}/volume1/homes/anna/mine.txt`, "utf8"), "mine");

    await openFiles(site, "/photo");
    assert.equal(await page.isVisible("#tools"), false);
    assert.equal(await page.isVisible("#only-reading"), true);
    assert.equal(await textOf(page, "#only-reading"), "You may look at this folder, but not change it.");
    await shot("only-reading");
  }));

test("An upload shows how far it is and can be cancelled, and what is dropped is sent", () =>
  withSite("files-cancel", async (site) => {
    const { page, login, state, shot } = site;
    await login("anna");
    await openFiles(site, "/public");
    // Nothing of the first upload reaches the appliance before the test lets it.
    let held;
    const holding = new Promise((resolve) => (held = resolve));
    await page.route(/upload\.cgi.*large/, (route) => held(route));
    await page.setInputFiles("#chosen", [{ name: "large.bin", mimeType: "", buffer: Buffer.alloc(3_000_000) }, text("waiting.txt", "x"), text("last.txt", "last")]);
    await holding;
    await page.click("#uploads-list li:nth-child(2) button");
    await page.waitForSelector("#uploads-list li:nth-child(2).cancelled");
    await shot("running");
    await tabTo(page, "#uploads-list li:nth-child(1) button");
    await page.keyboard.press("Enter");
    await uploadsOver(page, "Uploaded: 1 / 3");
    assert.equal(await focused(page), "uploads-title");
    assert.deepEqual((await readdir(`${state}/volume1/public`)).filter((name) => /large|waiting|last/.test(name)), ["last.txt"]);
    assert.deepEqual(await readdir(`${state}/volume1/@tmp`), []);

    const dropped = await page.evaluateHandle(() => {
      const data = new DataTransfer();
      data.items.add(new File(["dropped"], "dropped.txt"));
      return data;
    });
    await page.dispatchEvent("#drop", "dragover", { dataTransfer: dropped });
    await page.waitForSelector("#drop.dropping");
    await shot("dropping");
    await page.dispatchEvent("#drop", "drop", { dataTransfer: dropped });
    await uploadsOver(page, "Uploaded: 2 / 4");
    assert.equal(await readFile(`${state}/volume1/public/dropped.txt`, "utf8"), "dropped");
  }));

test("While files are sent the session is kept, a film goes on and the focus stays; a page that is gone gives way to the last", () =>
  withSite("files-meanwhile", async (site) => {
    const { page, login, state } = site;
    const folder = `${state}/volume1/public/many`;
    await mkdir(folder);
    await writeFile(`${folder}/chime.wav`, await readFile(`${state}/volume1/public/chime.wav`));
    for (let i = 0; i < 150; ++i) await writeFile(`${folder}/\u202ez${String(i).padStart(3, "0")}`, "");
    await login("anna");
    await page.clock.install();
    await openFiles(site, "/public/many");
    assert.equal((await names(page))[1], "\ufffdz000", "a name turns nothing around");
    await page.click('a[href$="chime.wav"]');
    await page.focus("#items tr:nth-child(3) .name a");
    let held;
    const holding = new Promise((resolve) => (held = resolve));
    await page.route(/upload\.cgi/, (route) => held(route));
    await page.setInputFiles("#chosen", [text("aaa", "sent")]);
    const route = await holding;
    const sign = page.waitForRequest(/whoami\.cgi\?active=1/);
    await page.clock.fastForward(61_000);
    await sign;
    await route.continue();
    await uploadsOver(page, "Uploaded: 1 / 1");
    await page.waitForFunction(() => document.querySelector("#items .name").textContent === "aaa");
    assert.equal(await page.isVisible("#preview audio"), true);
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "\ufffdz001");
    await page.click("#next");
    await page.waitForFunction(() => document.getElementById("position").textContent === "101\u2013152 / 152");
    for (let i = 0; i < 60; ++i) await rm(`${folder}/\u202ez${String(i).padStart(3, "0")}`);
    await page.reload();
    await page.waitForFunction(() => document.querySelectorAll("#items tr").length === 92);
    assert.equal(await page.textContent("#status"), "");
  }));

test("The tree opens level by level, by keyboard, and follows the folder that is shown", () =>
  withSite("files-tree", async (site) => {
    const { page, login, state, shot } = site;
    await mkdir(`${state}/volume1/public/a/b/c`, { recursive: true });
    await mkdir(`${state}/volume1/public/Z`);
    const asked = [];
    page.on("request", (request) => request.url().includes("folders.cgi") && asked.push(request.url()));
    await login("anna");
    await openFiles(site);
    await page.waitForSelector("#tree li");
    assert.deepEqual(asked, [], "nothing below the shares is asked for before somebody opens it");
    const opener = (link) => `#tree li[data-link="${link}"] > div > .unfold`;
    await tabTo(page, opener("%2Fpublic"));
    await page.keyboard.press("Enter");
    await page.waitForSelector(`#tree li[data-link="%2Fpublic%2Fa"]`);
    assert.deepEqual(await page.locator('#tree li[data-link="%2Fpublic"] > ul > li > div > a').allTextContents(), ["a", "Z"]);
    assert.equal(await page.getAttribute(opener("%2Fpublic"), "aria-expanded"), "true");
    await page.keyboard.press("Enter");
    assert.equal(await page.getAttribute(opener("%2Fpublic"), "aria-expanded"), "false");
    await openFiles(site, "/public/a/b");
    await page.waitForSelector('#tree li[data-link="%2Fpublic%2Fa%2Fb"] > div > a[aria-current="page"]');
    await page.click(opener("%2Fpublic%2Fa%2Fb"));
    await page.waitForSelector('#tree li[data-link="%2Fpublic%2Fa%2Fb%2Fc"]');
    await page.click(opener("%2Fpublic%2Fa%2Fb%2Fc"));
    await page.waitForSelector(opener("%2Fpublic%2Fa%2Fb%2Fc"), { state: "hidden" });
    await shot("open");
  }));

test("On a phone everything fits", () =>
  withSite(
    "files-phone",
    async (site) => {
      const { page, login, shot, state } = site;
      await mkdir(`${state}/volume1/public/A folder with a rather long name for a phone`);
      await login("anna");
      await openFiles(site, "/public");
      await page.click('a[href$="clock.webm"]');
      await page.waitForFunction(() => document.querySelector("#preview video")?.readyState >= 1);
      const overflow = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
      await shot("preview");
      assert.ok(overflow <= 0, `${overflow} pixels are beyond the edge`);
    },
    { context: { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, userAgent: kPhone } },
  ));
