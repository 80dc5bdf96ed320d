// The protocol's own types, as its package publishes them, made into a judge of messages.

import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import Ajv from 'ajv';
import { createGenerator } from 'ts-json-schema-generator';

const require = createRequire(import.meta.url);
const types = join(dirname(require.resolve('@vscode/debugprotocol/package.json')), 'lib',
                   'debugProtocol.d.ts');

// Every number that an adapter like ours sends is a whole one, and no field is there that the
// protocol does not know.
function strict(schema) {
  if (Array.isArray(schema)) return schema.map(strict);
  if (schema === null || typeof schema !== 'object') return schema;
  const copy = {};
  for (const [key, value] of Object.entries(schema)) {
    copy[key] = key === 'type' && value === 'number' ? 'integer' : strict(value);
  }
  return copy;
}

const schema = strict(createGenerator({
  path: types,
  type: '*',
  expose: 'all',
  skipTypeCheck: true,
  additionalProperties: false,
}).createSchema('*'));

const ajv = new Ajv({ strict: false, allErrors: true });
ajv.addSchema(schema, 'protocol');

const capital = (name) => name[0].toUpperCase() + name.slice(1);

// The definition that a message must agree with. Requests of our own have the plain one.
function definitionOf(message) {
  let name = `${capital(message.event ?? 'x')}Event`;
  if (message.type === 'response') {
    name = message.success ? `${capital(message.command || 'x')}Response` : 'ErrorResponse';
  }
  if (schema.definitions[`DebugProtocol.${name}`]) return `DebugProtocol.${name}`;
  return message.type === 'response' ? 'DebugProtocol.Response' : 'none';
}

// Empty, or what is wrong with a message of the adapter.
export function faultOf(message) {
  const definition = definitionOf(message);
  const validate = ajv.getSchema(`protocol#/definitions/${definition}`);
  if (!validate) return `the protocol has no ${message.event}`;
  return validate(message) ? '' : `${definition}: ${ajv.errorsText(validate.errors)}`;
}
