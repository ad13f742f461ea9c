// The conformance suite of the protocol. What it tries beyond the gateway's needs is in the expected failures,
// each with a reason; the suite fails on others, and on those that do not fail any more.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { startFixtureServer } from './support.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const suite = path.join(here, 'node_modules/@modelcontextprotocol/conformance/dist/index.js');

let server, results;
before(async () => {
    server = await startFixtureServer('open'); // The suite can send no key.
    results = await mkdtemp(path.join(tmpdir(), 'zelvo-conformance-'));
});
after(async () => {
    await server.stop();
    await rm(results, { recursive: true });
});

async function run(version) {
    const args = ['--import', path.join(here, 'old-node.mjs'), suite, 'server', '--url', server.url.href,
        '--requirements', version, '--expected-failures', path.join(here, `expected-failures-${version}.yml`),
        '-o', results];
    const child = spawn(process.execPath, args, { stdio: ['ignore', 'pipe', 'pipe'] });
    let output = '';
    for (const stream of [child.stdout, child.stderr]) stream.on('data', piece => (output += piece));
    const code = await new Promise(resolve => child.once('close', resolve));
    return { code, output };
}

const required = {
    '2025-11-25': ['server-initialize', 'ping', 'tools-list', 'tools-call-simple-text', 'tools-call-image',
        'tools-call-error', 'tools-call-with-progress', 'server-sse-multiple-streams', 'dns-rebinding-protection',
        'server-session-lifecycle', 'json-schema-2020-12'],
    '2026-07-28': ['server-stateless', 'tools-list', 'tools-call-simple-text', 'tools-call-image',
        'tools-call-error', 'tools-call-with-progress', 'server-sse-multiple-streams', 'dns-rebinding-protection',
        'json-schema-2020-12', 'http-header-validation'],
};

for (const [version, scenarios] of Object.entries(required))
    test(`conforms to ${version}`, async () => {
        const { code, output } = await run(version);
        for (const scenario of scenarios)
            assert.match(output, new RegExp(`✓ ${scenario}: [1-9]\\d* passed, 0 failed`), output);
        assert.equal(code, 0, output);
    });
