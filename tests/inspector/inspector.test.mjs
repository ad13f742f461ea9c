// The command line of the protocol's inspector, which is a program that people debug servers with, against the built
// gateway. Each call of it is one process, one connection and one method.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { promisify } from 'node:util';
import { gateway, startGateway } from './support.mjs';

const inspector = path.resolve('node_modules/.bin/mcp-inspector');
let running, connection;

before(async () => {
    running = await startGateway();
    connection = running.provision();
});

after(() => running.stop());

const ways = {
    'over HTTP': () => [`${running.address}/mcp`, '--transport', 'http', '--header', `Authorization: ${running.authorization}`],
    'over standard input and output': () => [gateway, 'mcp', '--data', running.data],
};

async function inspect(target, ...method) {
    const { stdout } = await promisify(execFile)(inspector, ['--cli', ...target, ...method], { timeout: 60_000 });
    return JSON.parse(stdout);
}

for (const [name, target] of Object.entries(ways))
    describe(name, () => {
        test('lists the tools', async () => {
            const { tools } = await inspect(target(), '--method', 'tools/list');
            for (const wanted of ['machine_list', 'desktop_see', 'desktop_act', 'desktop_wait'])
                assert.ok(tools.some(tool => tool.name === wanted), wanted);
        });

        test('calls a tool', async () => {
            const result = await inspect(target(), '--method', 'tools/call', '--tool-name', 'machine_list');
            assert.ok(!result.isError);
            assert.match(JSON.stringify(result.structuredContent), new RegExp(connection));
        });

        test('passes arguments on', async () => {
            const call = ['--method', 'tools/call', '--tool-name', 'desktop_see', '--tool-arg', `machine=${connection}`];
            await assert.rejects(inspect(target(), ...call), ({ stdout, stderr }) => {
                assert.match(stderr, /"code":"tool_is_error"/);
                assert.match(JSON.parse(stdout).content[0].text, /^machine_(offline|unavailable): /);
                return true;
            });
        });
    });

test('a wrong key is refused', async () => {
    const target = [`${running.address}/mcp`, '--transport', 'http', '--header', 'Authorization: Bearer wrong'];
    await assert.rejects(inspect(target, '--method', 'tools/list'), error => /"code":"auth_required"/.test(error.stderr));
});
