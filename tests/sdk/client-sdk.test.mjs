// The SDK that speaks the versions with a handshake and those without.
import { Client, StreamableHTTPClientTransport } from '@modelcontextprotocol/client';
import { StdioClientTransport } from '@modelcontextprotocol/client/stdio';
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { describeClient } from './behaviour.mjs';
import { httpOptions, startFixtureServer, stdioParameters } from './support.mjs';

let server;
before(async () => (server = await startFixtureServer()));
after(() => server.stop());

const call = (client, name, args, options) => client.callTool({ name, arguments: args }, options);
const transports = {
    HTTP: (...more) => new StreamableHTTPClientTransport(server.url, httpOptions(...more)),
    'standard input and output': (...more) => new StdioClientTransport(stdioParameters(server, ...more)),
};
const modes = { legacy: 'legacy', auto: 'auto', 'pinned to 2026-07-28': { pin: '2026-07-28' } };

for (const [place, transport] of Object.entries(transports))
    for (const [name, mode] of Object.entries(modes))
        describe(`${name}, over ${place}`, () => {
            const open = async (...more) => {
                const client = new Client({ name: 'both', version: '1' }, { versionNegotiation: { mode } });
                await client.connect(transport(...more));
                return client;
            };
            const close = async client => {
                if (mode === 'legacy') await client.transport.terminateSession?.();
                await client.close();
            };
            describeClient({ open, call, close });

            test('agrees on the version', async () => {
                const client = await open();
                assert.equal(client.getNegotiatedProtocolVersion(), mode === 'legacy' ? '2025-11-25' : '2026-07-28');
                await close(client);
            });

            test('needs the key', async () => {
                await assert.rejects(open('wrong'));
            });
        });
