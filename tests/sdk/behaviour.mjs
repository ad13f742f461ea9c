// What every client must see, whatever its era and its transport.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { becomes, textOf } from './support.mjs';

/**
 * open    makes a connected client
 * call    client, name, arguments, options {signal, onprogress} -> result
 */
export function describeClient({ open, call, close = client => client.close() }) {
    const withClient = body => async () => {
        const client = await open();
        try {
            await body(client);
        } finally {
            await close(client);
        }
    };

    test('lists the tools', withClient(async client => {
        const { tools } = await client.listTools();
        const progress = tools.find(tool => tool.name === 'test_tool_with_progress');
        assert.equal(progress.annotations.readOnlyHint, true);
        assert.equal(progress.annotations.destructiveHint, false);
        assert.equal(client.getServerVersion().name, 'zelvo-tests');
        assert.equal(client.getInstructions(), 'Call them.');
    }));

    test('calls a tool', withClient(async client => {
        const result = await call(client, 'test_simple_text', {});
        assert.equal(textOf(result), 'This is a simple text response for testing.');
        assert.ok(!result.isError);
    }));

    test('gets a picture', withClient(async client => {
        const { content } = await call(client, 'test_image_content', {});
        assert.equal(content[0].type, 'image');
        assert.equal(Buffer.from(content[0].data, 'base64').subarray(1, 4).toString(), 'PNG');
    }));

    test('sees progress before the result', withClient(async client => {
        const seen = [];
        const onprogress = progress => seen.push(progress.progress);
        const result = await call(client, 'test_tool_with_progress', {}, { onprogress });
        assert.deepEqual(seen, [0, 50, 100]);
        assert.equal(textOf(result), 'Done');
    }));

    test('waits for a call that takes longer than two seconds', withClient(async client => {
        assert.equal(textOf(await call(client, 'test_hold', { ms: 2_500 })), 'Held');
    }));

    test('calls several tools at once', withClient(async client => {
        const results = await Promise.all(Array.from({ length: 20 }, () => call(client, 'test_hold', { ms: 200 })));
        assert.deepEqual(new Set(results.map(textOf)), new Set(['Held']));
    }));

    test('is told of a failure that a model can act upon', withClient(async client => {
        const result = await call(client, 'test_error_handling', {});
        assert.equal(result.isError, true);
    }));

    test('is told which argument is wrong', withClient(async client => {
        const result = await call(client, 'test_hold', { ms: 'long' });
        assert.equal(result.isError, true);
        assert.match(textOf(result), /^invalid_request: "ms" must be an integer/);
    }));

    test('gets an error for an unknown tool', withClient(async client => {
        await assert.rejects(call(client, 'no_such_tool', {}), error => error.code === -32602);
    }));

    test('cancels a call', withClient(async client => {
        const held = async () => textOf(await call(client, 'test_held', {}));
        const cancelled = Number((await held()).match(/(\d+) cancelled/)[1]);
        const abort = new AbortController();
        const holding = call(client, 'test_hold', { ms: 600_000 }, { signal: abort.signal });
        await becomes(held, `1 open, ${cancelled} cancelled`);
        abort.abort();
        await assert.rejects(holding);
        await becomes(held, `0 open, ${cancelled + 1} cancelled`);
    }));

    test('leaves no call behind', withClient(async client => {
        const other = await open();
        call(other, 'test_hold', { ms: 600_000 }).catch(() => {});
        const held = async () => textOf(await call(client, 'test_held', {}));
        await becomes(async () => (await held()).split(',')[0], '1 open');
        await close(other);
        await becomes(async () => (await held()).split(',')[0], '0 open');
    }));
}
