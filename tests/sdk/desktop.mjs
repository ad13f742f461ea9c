// Operates a real desktop through the built gateway and agent. The test that starts this reads the lines printed here
// and acts as the person at the computer. Usage: node desktop.mjs sdk|client-legacy|client-modern http|stdio
// Environment: ZELVO_MCP_URL, ZELVO_API_KEY, and ZELVO_GATEWAY for stdio.
import { Client as BothClient, StreamableHTTPClientTransport as BothHttp } from '@modelcontextprotocol/client';
import { StdioClientTransport as BothStdio } from '@modelcontextprotocol/client/stdio';
import { Client as LegacyClient } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport as LegacyStdio } from '@modelcontextprotocol/sdk/client/stdio.js';
import { StreamableHTTPClientTransport as LegacyHttp } from '@modelcontextprotocol/sdk/client/streamableHttp.js';
import assert from 'node:assert/strict';

const [kind, transport] = process.argv.slice(2);
const url = new URL(process.env.ZELVO_MCP_URL);
const key = process.env.ZELVO_API_KEY;
const say = line => process.stdout.write(`${line}\n`);

async function connect() {
    const isLegacy = kind === 'sdk';
    const [Client, Http, Stdio] = isLegacy ? [LegacyClient, LegacyHttp, LegacyStdio] : [BothClient, BothHttp, BothStdio];
    const mode = kind === 'client-legacy' ? 'legacy' : { pin: '2026-07-28' };
    const client = new Client({ name: 'desktop', version: '1' }, isLegacy ? {} : { versionNegotiation: { mode } });
    const http = () => new Http(url, { requestInit: { headers: { Authorization: `Bearer ${key}` } } });
    const stdio = () =>
        new Stdio({
            command: process.env.ZELVO_GATEWAY,
            args: ['mcp', '--gateway', url.origin],
            env: { ZELVO_API_KEY: key },
        });
    await client.connect(transport === 'http' ? http() : stdio());
    return client;
}

const client = await connect();
const textOf = result => result.content.map(part => part.text ?? '').join('\n');

async function call(name, args = {}, options = {}) {
    if (kind === 'sdk') return client.callTool({ name, arguments: args }, undefined, options);
    return client.callTool({ name, arguments: args }, options);
}

async function done(name, args, options) {
    const result = await call(name, args, options);
    assert.ok(!result.isError, textOf(result));
    return textOf(result);
}

/** The reference of the first line with this role and name. */
function ref(text, role, name) {
    const line = text.split('\n').find(each => each.includes(`] ${role} "${name}"`));
    assert.ok(line, `no ${role} "${name}" in:\n${text}`);
    return line.match(/\[(\w+)\]/)[1];
}

const click = reference => ({ actions: [{ type: 'click', ref: reference }] });

// Lists.
const { tools } = await client.listTools();
assert.ok(tools.some(tool => tool.name === 'desktop_act'));
const machines = await call('machine_list');
assert.equal(machines.structuredContent.machines.length, 1);

// Sees.
const seen = await done('desktop_see');
const print = ref(seen, 'button', 'Print');
const send = ref(seen, 'button', 'Send');
const picture = await call('desktop_see', { what: 'screenshot' });
assert.ok(picture.content.some(part => part.type === 'image'));

// Acts, and sees what changed.
assert.match(await done('desktop_act', click(print)), /^ok 1\/1 · settled \d+ ms/);
say('clicked');

// Waits.
const dialog = { role: 'button', name: 'Understood', timeoutMs: 20_000 };
say('open a dialog');
const appeared = await done('desktop_wait', { ...dialog, until: 'appears', observe: 'tree' });
ref(appeared, 'button', 'Understood');
say('close the dialog');
await done('desktop_wait', { ...dialog, until: 'disappears' });

// The person is asked.
const asked = done('desktop_act', click(send), { onprogress: () => say('waiting for the person') });
assert.match(await asked, /^ok 1\/1/);
say('sent');

// Cancels, and the machine is free: four waits are all that a key may have there at a time, so an action waits until
// they end.
const abort = new AbortController();
const never = Array.from({ length: 4 }, () =>
    assert.rejects(call('desktop_wait', { name: 'Godot', timeoutMs: 40_000 }, { signal: abort.signal })),
);
let cancelledAt;
const onprogress = ({ message }) => {
    if (cancelledAt || !message?.includes('your other calls')) return;
    cancelledAt = Date.now();
    abort.abort();
};
await done('desktop_act', click(print), { onprogress });
assert.ok(cancelledAt, 'the action did not wait for the four waits');
assert.ok(Date.now() - cancelledAt < 10_000, `answered ${Date.now() - cancelledAt} ms after the waits were cancelled`);
await Promise.all(never);

// A reference heals: the application begins anew, with other elements of the same names.
say('restart the application');
await done('desktop_wait', { role: 'button', name: 'Print', until: 'disappears', timeoutMs: 20_000 });
say('it has gone');
await done('desktop_wait', { role: 'button', name: 'Print', until: 'appears', timeoutMs: 40_000 });
await done('desktop_act', click(print));
say('clicked again');

// A hidden application is refused.
say('hide the application');
let refused = { isError: false };
for (let tries = 0; tries < 1_000 && !refused.isError; ++tries) refused = await call('desktop_act', click(print));
assert.match(textOf(refused), /^hidden_app_active: .* Next: /s);

await client.close();
say('done');
