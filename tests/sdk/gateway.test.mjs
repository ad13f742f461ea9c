// The built gateway with its own tools, and a machine that is not there.
import { Client, StreamableHTTPClientTransport } from '@modelcontextprotocol/client';
import { StdioClientTransport } from '@modelcontextprotocol/client/stdio';
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { gateway, startGateway, textOf } from './support.mjs';

let running, data, address, authorization, connection;

before(async () => {
    running = await startGateway();
    ({ data, address, authorization } = running);
    connection = running.provision();
});

after(() => running.stop());

async function open(transport, mode = 'auto') {
    const client = new Client({ name: 'sdk', version: '1' }, { versionNegotiation: { mode } });
    await client.connect(transport);
    return client;
}

function http(target) {
    return new StreamableHTTPClientTransport(new URL(`${address}${target}`), { requestInit: { headers: { Authorization: authorization } } });
}

/** As the printed configuration has it: the key comes from the data folder. */
function stdio(...more) {
    return new StdioClientTransport({ command: gateway, args: ['mcp', '--data', data, ...more], env: {}, stderr: 'pipe' });
}

const ways = {
    'over HTTP, without a handshake': () => open(http('/mcp')),
    'over HTTP, with a handshake': () => open(http('/mcp'), 'legacy'),
    'over standard input and output': () => open(stdio()),
    'over standard input and output, with a handshake': () => open(stdio(), 'legacy'),
};

for (const [name, connect] of Object.entries(ways))
    describe(name, () => {
        let client;
        before(async () => (client = await connect()));
        after(() => client.close());

        test('lists tools that say all hints', async () => {
            const { tools } = await client.listTools();
            for (const wanted of ['machine_list', 'desktop_see', 'desktop_act', 'desktop_wait', 'app_open', 'shell_run'])
                assert.ok(tools.some(tool => tool.name === wanted), wanted);
            assert.ok(!tools.some(tool => tool.name === 'computer'));
            for (const tool of tools)
                for (const hint of ['readOnlyHint', 'destructiveHint', 'idempotentHint', 'openWorldHint'])
                    assert.equal(typeof tool.annotations[hint], 'boolean', tool.name);
            assert.ok(client.getInstructions().length > 100);
        });

        test('lists machines', async () => {
            const result = await client.callTool({ name: 'machine_list', arguments: {} });
            assert.ok(!result.isError);
            assert.match(JSON.stringify(result), new RegExp(connection));
        });

        test('says that a machine is offline, and what to do', async () => {
            const result = await client.callTool({ name: 'desktop_see', arguments: { machine: connection } });
            assert.equal(result.isError, true);
            assert.match(textOf(result), /^machine_(offline|unavailable): .*Next: /s);
        });

        test('says which argument is wrong', async () => {
            const result = await client.callTool({ name: 'desktop_act', arguments: { actions: [] } });
            assert.equal(result.isError, true);
            assert.match(textOf(result), /^invalid_request: "actions"/);
        });
    });

describe('one connection', () => {
    test('has tools that name no machine', async () => {
        for (const transport of [http(`/mcp/${connection}`), stdio('--connection', connection)]) {
            const client = await open(transport);
            const { tools } = await client.listTools();
            const see = tools.find(tool => tool.name === 'desktop_see');
            assert.ok(!('machine' in see.inputSchema.properties));
            const result = await client.callTool({ name: 'desktop_see', arguments: {} });
            assert.match(textOf(result), /^machine_(offline|unavailable): /);
            await client.close();
        }
    });

    test('is not there once it is revoked', async () => {
        const revoked = running.provision();
        const client = await open(http(`/mcp/${revoked}`), 'legacy');
        const answer = await fetch(`${address}/v1/connections/${revoked}`, { method: 'DELETE', headers: { Authorization: authorization } });
        assert.equal(answer.status, 200);
        await assert.rejects(client.listTools());
        await client.close();
        await assert.rejects(open(http(`/mcp/${revoked}`)));
        await assert.rejects(open(stdio('--connection', revoked)));
    });
});

test('the address switches the computer tool on', async () => {
    for (const transport of [http('/mcp?tools=computer&width=1024'), stdio('--switches', 'tools=computer&width=1024')]) {
        const client = await open(transport);
        const { tools } = await client.listTools();
        assert.ok(tools.some(tool => tool.name === 'computer'));
        await client.close();
    }
});
