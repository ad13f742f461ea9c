// The suite imports a function of the file system that Node.js 20 lacks, for commands that the tests do not use.
import fs from 'node:fs';
import { register } from 'node:module';

const substitute = `export * from 'node:fs';
export { default } from 'node:fs';
export function globSync() { throw new Error('Node.js 20 has no globSync()'); }`;
const hooks = `export async function resolve(specifier, context, next) {
    return specifier === 'fs' && context.parentURL?.includes('/@modelcontextprotocol/conformance/')
        ? { url: ${JSON.stringify(`data:text/javascript,${encodeURIComponent(substitute)}`)}, shortCircuit: true }
        : next(specifier, context);
}`;
if (!fs.globSync) register(`data:text/javascript,${encodeURIComponent(hooks)}`);
