// The page on two addresses: plain for this machine, which browsers trust with a camera, and by
// HTTPS for telephones in the same network, with a certificate made on the spot.
import { execFileSync } from 'node:child_process';
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createServer } from 'node:http';
import { createServer as createSecureServer } from 'node:https';
import { networkInterfaces, tmpdir } from 'node:os';
import { extname, join, normalize } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

const kSite = fileURLToPath(new URL('../site/', import.meta.url));
const kTypes = {
  '.html': 'text/html; charset=utf-8',
  '.css': 'text/css; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.svg': 'image/svg+xml',
  '.wasm': 'application/wasm',
};
const kDefaultPort = 8080;

// Null for what is no address.
function fileOf(url, folder) {
  try {
    const { pathname } = new URL(url, 'http://localhost');
    return join(folder, normalize(decodeURIComponent(pathname.endsWith('/') ? `${pathname}index.html` : pathname)));
  } catch {
    return null;
  }
}

/** Answers requests from a folder of plain files. */
export function fileServer(folder = kSite) {
  return (request, response) => {
    const file = fileOf(request.url ?? '/', folder);
    if (!file || !file.startsWith(folder) || !existsSync(file) || !(extname(file) in kTypes)) {
      response.writeHead(404, { 'Content-Type': 'text/plain' }).end('There is no such file.\n');
      return;
    }
    response.writeHead(200, {
      'Content-Type': kTypes[extname(file)],
      'Cache-Control': 'no-cache',
      'X-Content-Type-Options': 'nosniff',
      'Referrer-Policy': 'no-referrer',
      // Alone in its process, the page gets precise clocks.
      'Cross-Origin-Opener-Policy': 'same-origin',
      'Cross-Origin-Embedder-Policy': 'require-corp',
    });
    response.end(request.method === 'HEAD' ? undefined : readFileSync(file));
  };
}

/** This machine's addresses in its networks. */
function addresses() {
  return Object.values(networkInterfaces())
    .flat()
    .filter((entry) => entry && entry.family === 'IPv4' && !entry.internal)
    .map(({ address }) => address);
}

/** A key and a certificate for these addresses, good for a week; null without openssl. */
function selfSigned(names) {
  const folder = mkdtempSync(join(tmpdir(), 'ozr-panorama-'));
  const key = join(folder, 'key.pem'), certificate = join(folder, 'certificate.pem');
  const alternatives = ['DNS:localhost', ...names.map((name) => `IP:${name}`)].join(',');
  const subject = ['-subj', '/CN=Panorama', '-addext', `subjectAltName=${alternatives}`];
  const kind = ['-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1', '-nodes', '-days', '7'];
  try {
    execFileSync('openssl', ['req', '-x509', ...kind, ...subject, '-keyout', key, '-out', certificate], { stdio: 'ignore' });
    return { key: readFileSync(key), cert: readFileSync(certificate) };
  } catch {
    return null;
  } finally {
    rmSync(folder, { recursive: true, force: true });
  }
}

function main([option, value]) {
  const port = option === undefined ? kDefaultPort : Number(value);
  if ((option !== undefined && option !== '--port') || !Number.isInteger(port) || port < 1 || port > 65534) {
    console.error('usage: web/serve [--port N]');
    process.exit(2);
  }
  if (!existsSync(join(kSite, 'index.html'))) {
    console.error('web/serve: there is no page yet; scripts/web builds and serves it');
    process.exit(1);
  }
  const stop = ({ message }) => {
    console.error(`web/serve: ${message}; choose another port with --port`);
    process.exit(1);
  };
  createServer(fileServer()).on('error', stop).listen(port, '127.0.0.1', () => {
    console.log(`On this computer:  http://localhost:${port}/`);
    const names = addresses();
    const secrets = selfSigned(names);
    if (!secrets) console.log('For telephones, install openssl: a camera needs HTTPS there.');
    else
      createSecureServer(secrets, fileServer()).on('error', stop).listen(port + 1, () => {
        for (const name of names) console.log(`On a telephone:    https://${name}:${port + 1}/   (it warns of the certificate: go on)`);
        console.log('Control-C ends it.');
      });
  });
}

if (process.argv[1] && import.meta.url === pathToFileURL(process.argv[1]).href) main(process.argv.slice(2));
