// The debug adapter as an editor drives it. Every message that it sends is checked against the
// protocol's types and for the order of its numbers.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import testsupport from '@vscode/debugadapter-testsupport';
import { faultOf } from './schema.js';

export const consolePath = process.env.LISP_CONSOLE_PATH;
assert.ok(consolePath, 'LISP_CONSOLE_PATH must name lisp_console');

export class Adapter extends testsupport.DebugClient {
  constructor() {
    super(consolePath, 'dap', 'lisp');
    this.messages = [];
    this.faults = [];
    this.directory = realpathSync(mkdtempSync(join(tmpdir(), 'lisp_dap_')));
    this.file = join(this.directory, 'p.lsp');
  }

  // Called by the library with each message.
  dispatch(body) {
    const message = JSON.parse(body);
    this.messages.push(message);
    const fault = faultOf(message);
    if (fault) this.faults.push(`${fault} in ${body}`);
    if (message.seq !== this.messages.length) this.faults.push(`a wrong number in ${body}`);
    super.dispatch(body);
  }

  async close() {
    const process = this._adapterProcess;
    const ended = process && new Promise((resolve) => process.once('exit', resolve));
    await this.disconnectRequest().catch(() => {});
    const code = ended ? await ended : 0;
    if (!process) this.stopAdapter();
    rmSync(this.directory, { recursive: true });
    assert.deepEqual(this.faults, []);
    assert.equal(code, 0, 'the adapter ends well');
  }

  write(name, text) {
    writeFileSync(join(this.directory, name), text);
    return join(this.directory, name);
  }

  // A session with the program of this text: launched, configured by `configure`, begun.
  async begin(text, launch = {}, configure = async () => {}) {
    this.write('p.lsp', text);
    const ready = this.waitForEvent('initialized');
    await this.initializeRequest({ adapterID: 'lisp', supportsVariableType: true });
    await ready;
    await this.launchRequest({ program: this.file, ...launch });
    await configure(this);
    return this.arrival(() => this.configurationDoneRequest());
  }

  // Where the program stops, or that it has ended, once `act` is done.
  async arrival(act) {
    const stop = new Promise((resolve) => {
      const done = (event) => {
        this.off('stopped', done);
        this.off('terminated', done);
        resolve(event);
      };
      this.on('stopped', done);
      this.on('terminated', done);
    });
    await act();
    const event = await stop;
    if (event.event === 'terminated') return 'ended';
    const { stackFrames } = (await this.stackTraceRequest({ threadId: 1 })).body;
    const frame = stackFrames[0];
    return frame ? `${event.body.reason} ${frame.line}:${frame.column} ${frame.name}`
                 : event.body.reason;
  }

  move(command, more = {}) {
    return this.arrival(() => this.send(command, { threadId: 1, ...more }));
  }

  async breakAt(...breakpoints) {
    const set = await this.setBreakpointsRequest({ source: { path: this.file }, breakpoints });
    return set.body.breakpoints;
  }

  // The message of a request that is refused.
  async refusal(command, more) {
    try {
      await this.send(command, more);
    } catch (error) {
      return error.message;
    }
    return assert.fail(`${command} was taken`);
  }

  async value(expression, more = {}) {
    return (await this.evaluateRequest({ expression, ...more })).body.result;
  }

  output(category) {
    return this.messages.filter((m) => m.event === 'output' && m.body.category === category)
        .map((m) => m.body.output).join('');
  }
}

// A test whose adapter is closed whatever happens.
export function session(run) {
  return async () => {
    const adapter = new Adapter();
    await adapter.start();
    try {
      await run(adapter);
    } finally {
      await adapter.close();
    }
  };
}

// Gives the adapter these bytes and the end of its input. Returns its output and its end.
export function talk(bytes) {
  return new Promise((resolve) => {
    const child = spawn(consolePath, ['dap']);
    let output = '';
    let complaint = '';
    child.stdout.on('data', (data) => { output += data; });
    child.stderr.on('data', (data) => { complaint += data; });
    child.stdin.on('error', () => {});
    child.on('close', (code) => resolve({ output, complaint, code }));
    child.stdin.end(bytes);
  });
}

export function frame(message) {
  const text = typeof message === 'string' ? message : JSON.stringify(message);
  return `Content-Length: ${Buffer.byteLength(text)}\r\n\r\n${text}`;
}

// The messages in what the adapter has written.
export function unframe(output) {
  const messages = [];
  for (let rest = Buffer.from(output); rest.length > 0;) {
    const end = rest.indexOf('\r\n\r\n');
    const size = Number(/Content-Length: (\d+)/.exec(rest.subarray(0, end).toString())[1]);
    messages.push(JSON.parse(rest.subarray(end + 4, end + 4 + size).toString()));
    rest = rest.subarray(end + 4 + size);
  }
  for (const message of messages) assert.equal(faultOf(message), '', JSON.stringify(message));
  return messages;
}
