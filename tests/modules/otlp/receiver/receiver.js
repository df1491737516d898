// A test receiver of OpenTelemetry's protocol, behind a recorder of requests. Prints the URL at which
// it listens, and runs until its standard input is closed.
//
//   node receiver.js DIRECTORY
//
// Writes files with one line for each request there: bodies.jsonl, with media type and body in
// base64; logs.jsonl, as the receiver decoded it.
'use strict';

const fs = require('fs');
const http = require('http');
const path = require('path');
const {MockOtlpServer, normalizeLogs} = require('@elastic/mockotlpserver');

const directory = process.argv[2];
const append = (name, line) => fs.appendFileSync(path.join(directory, name), line + '\n');

const receiver = new MockOtlpServer({
  logLevel: 'warn',
  services: ['http'],
  httpHostname: '127.0.0.1',
  httpPort: 0,
  onLogs: (logs) => append('logs.jsonl', JSON.stringify(normalizeLogs(logs))),
});

function forward(request, body, response) {
  const {method, url: target, headers} = request;
  const inner = http.request(new URL(target, receiver.httpUrl), {method, headers}, (answer) => {
    response.writeHead(answer.statusCode, answer.headers);
    answer.pipe(response);
  });
  inner.on('error', () => response.writeHead(502).end());
  inner.end(body);
}

const recorder = http.createServer((request, response) => {
  const chunks = [];
  request.on('data', (chunk) => chunks.push(chunk));
  request.on('end', () => {
    const body = Buffer.concat(chunks);
    const type = request.headers['content-type'];
    append('bodies.jsonl', JSON.stringify({type, body: body.toString('base64')}));
    forward(request, body, response);
  });
});

async function main() {
  for (const name of ['bodies.jsonl', 'logs.jsonl']) {
    fs.writeFileSync(path.join(directory, name), '');
  }
  await receiver.start();
  recorder.listen(0, '127.0.0.1', () => {
    console.log(`http://127.0.0.1:${recorder.address().port}`);
  });
  process.stdin.on('end', () => process.exit(0)).resume();
}

main();
