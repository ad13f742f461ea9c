// The programs that the tests drive, and clients of them.
import { execFileSync, spawn } from 'node:child_process';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { createInterface } from 'node:readline';

export const gateway = process.env.ZELVO_GATEWAY;
const fixtureServer = process.env.ZELVO_FIXTURE_SERVER;
if (!gateway || !fixtureServer) throw new Error('ZELVO_GATEWAY and ZELVO_FIXTURE_SERVER must name the programs');

export const key = 'key-a';

/** Starts the server with tools for tests; it ends with its input. */
export async function startFixtureServer(...options) {
    const child = spawn(fixtureServer, options, { stdio: ['pipe', 'pipe', 'inherit'] });
    const lines = createInterface({ input: child.stdout });
    const port = await new Promise((resolve, reject) => {
        lines.once('line', resolve);
        child.once('exit', code => reject(new Error(`the server ended with ${code}`)));
    });
    const ended = new Promise(resolve => child.once('exit', resolve));
    return {
        address: `http://127.0.0.1:${port}`,
        url: new URL(`http://127.0.0.1:${port}/mcp`),
        async stop() {
            child.stdin.end();
            await ended;
        },
    };
}

/** Starts the built gateway in a folder of its own. */
export async function startGateway() {
    const folder = await mkdtemp(path.join(tmpdir(), 'zelvo-sdk-'));
    const data = path.join(folder, 'data');
    const child = spawn(gateway, ['--data', data, '--port', '0'], { stdio: ['ignore', 'pipe', 'inherit'] });
    const lines = createInterface({ input: child.stdout });
    const line = await new Promise(resolve => lines.once('line', resolve));
    return {
        data,
        address: line.match(/http:\S+/)[0],
        authorization: `Bearer ${(await readFile(path.join(data, 'api-key'), 'utf8')).trim()}`,
        /** Makes a machine that never connects; returns the id of its connection. */
        provision() {
            return execFileSync(gateway, ['provision', '--data', data], { encoding: 'utf8' }).match(/^connection (\S+)$/m)[1];
        },
        async stop() {
            const ended = new Promise(resolve => child.once('exit', resolve));
            child.kill('SIGTERM');
            await ended;
            await rm(folder, { recursive: true });
        },
    };
}

/** How `zelvo-gateway mcp` is started to join a server. */
export function stdioParameters(server, apiKey = key, ...more) {
    return {
        command: gateway,
        args: ['mcp', '--gateway', server.address, ...more],
        env: { ZELVO_API_KEY: apiKey },
        stderr: 'pipe',
    };
}

export function httpOptions(apiKey = key) {
    return { requestInit: { headers: { Authorization: `Bearer ${apiKey}` } } };
}

/** The text of a result that is one text. */
export function textOf(result) {
    return result.content.length === 1 && result.content[0].type === 'text' ? result.content[0].text : undefined;
}

/** Asks again until the answer is what is wanted. */
export async function becomes(ask, wanted, patience = 10_000) {
    const end = Date.now() + patience;
    for (;;) {
        const answer = await ask();
        if (answer === wanted) return;
        if (Date.now() > end) throw new Error(`still "${answer}" instead of "${wanted}"`);
        await new Promise(resolve => setTimeout(resolve, 50));
    }
}
