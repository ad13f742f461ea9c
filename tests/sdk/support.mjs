// The programs that the tests drive, and clients of them.
import { spawn } from 'node:child_process';
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
