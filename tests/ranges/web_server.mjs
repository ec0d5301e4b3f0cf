// The site's web server, inside the appliance tree; files of one folder are served by its own file handler, too, as /files/NAME.
import { spawn } from "node:child_process";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createConnection, createServer } from "node:net";

const kStartTimeout_ms = 60_000;
const kFolder = "/tmp/web-server";
const kErrorLog = "/var/log/httpd-error.log";

const configuration = (files, more) => `
Include /usr/kest/conf/httpd.conf
LimitRequestFieldSize 65536
Alias /files/ ${files}/
<Directory ${files}>
  Require all granted
  ForceType application/octet-stream
</Directory>
${more}
`;

function freePort() {
  return new Promise((resolve, reject) => {
    const server = createServer();
    server.on("error", reject);
    server.listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

function answers(port) {
  return new Promise((resolve) => {
    const socket = createConnection(port, "127.0.0.1", () => resolve(socket.end() && true));
    socket.on("error", () => resolve(false));
  });
}

/// Serves the site, and the folder `files`; `more` lines of configuration win over the site's. Ends with stop().
export async function startWebServer(files, more = "") {
  mkdirSync(kFolder, { recursive: true });
  const port = await freePort();
  writeFileSync(`${kFolder}/httpd.conf`, configuration(files, more));
  const apache = spawn("apache2", ["-f", `${kFolder}/httpd.conf`, "-DFOREGROUND"], {
    env: { PATH: "/usr/sbin:/usr/bin", SITE_PORT: String(port) },
    stdio: ["ignore", "ignore", "inherit"],
  });
  const ended = new Promise((resolve) => apache.on("exit", resolve));
  const stop = () => {
    apache.kill("SIGTERM");
    return ended;
  };
  const end = Date.now() + kStartTimeout_ms;
  while (!(await answers(port))) {
    if (apache.exitCode !== null || Date.now() > end) {
      await stop();
      throw new Error(`the web server does not answer: ${readFileSync(kErrorLog, "utf8")}`);
    }
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  return { port, stop };
}
