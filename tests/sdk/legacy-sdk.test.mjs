// The SDK of the versions with a handshake.
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { StreamableHTTPClientTransport } from '@modelcontextprotocol/sdk/client/streamableHttp.js';
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { describeClient } from './behaviour.mjs';
import { httpOptions, startFixtureServer, stdioParameters } from './support.mjs';

let server;
before(async () => (server = await startFixtureServer()));
after(() => server.stop());

async function connected(transport) {
    const client = new Client({ name: 'legacy', version: '1' });
    client.onerror = error => (client.lastError = error);
    await client.connect(transport);
    return client;
}

const call = (client, name, args, options) => client.callTool({ name, arguments: args }, undefined, options);
const openHttp = () => connected(new StreamableHTTPClientTransport(server.url, httpOptions()));
/** Ends the session, as a client does that is not needed any more. */
const closeHttp = async client => {
    await client.transport.terminateSession();
    await client.close();
};

describe('over HTTP', () => {
    describeClient({ open: openHttp, call, close: closeHttp });

    test('has a session that it can end', async () => {
        const client = await openHttp();
        assert.match(client.transport.sessionId, /^[0-9a-f]{64}$/);
        await client.ping();
        const { sessionId } = client.transport;
        await client.transport.terminateSession();
        const headers = { ...httpOptions().requestInit.headers, 'Mcp-Session-Id': sessionId };
        const late = await fetch(server.url, {
            method: 'POST',
            headers: { ...headers, 'Content-Type': 'application/json' },
            body: '{"jsonrpc":"2.0","id":1,"method":"ping"}',
        });
        assert.equal(late.status, 404);
        await client.close();
    });

    test('can listen without an error', async () => {
        const client = await openHttp();
        await new Promise(resolve => setTimeout(resolve, 300));
        assert.equal(client.lastError, undefined);
        await closeHttp(client);
    });

    test('needs the key', async () => {
        const transport = new StreamableHTTPClientTransport(server.url, httpOptions('wrong'));
        await assert.rejects(connected(transport), error => error.code === 401);
    });
});

describe('over standard input and output', () => {
    describeClient({ open: () => connected(new StdioClientTransport(stdioParameters(server))), call });

    test('needs the key', async () => {
        const transport = new StdioClientTransport(stdioParameters(server, 'wrong'));
        let told = '';
        transport.stderr.on('data', piece => (told += piece));
        await assert.rejects(connected(transport));
        assert.equal(told, 'zelvo-gateway: the gateway refuses this API key\n');
    });
});
