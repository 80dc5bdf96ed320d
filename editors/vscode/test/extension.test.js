// The extension beside a stand-in for the editor, which keeps what it is told.

'use strict';

const assert = require('node:assert');
const Module = require('node:module');
const test = require('node:test');

let told;
let editor;
let panel;

const vscode = {
  ViewColumn: { Beside: -2 },
  TaskScope: { Workspace: 2 },
  ProcessExecution: class { constructor(process, words) { Object.assign(this, { process, words }); } },
  Task: class {
    constructor(type, scope, name, source, execution, matcher) {
      Object.assign(this, { type, scope, name, source, execution, matcher });
    }
  },
  DebugAdapterExecutable: class { constructor(command, words) { Object.assign(this, { command, words }); } },
  workspace: { getConfiguration: () => ({ get: () => '/opt/lisp_console' }) },
  tasks: { executeTask: (task) => told.tasks.push(task) },
  commands: { registerCommand: (name, run) => { told.commands[name] = run; } },
  window: {
    get activeTextEditor() { return editor; },
    showErrorMessage: (text) => told.errors.push(text),
    createWebviewPanel: (type, title, place, options) => {
      panel = { title, options, webview: { html: '' }, onDidDispose: (close) => { panel.close = close; } };
      return panel;
    },
  },
  debug: {
    activeDebugSession: undefined,
    registerDebugAdapterDescriptorFactory: (type, factory) => { told.adapters = factory; },
    registerDebugAdapterTrackerFactory: (type, factory) => { told.trackers = factory; },
    registerDebugConfigurationProvider: (type, provider) => { told.configurations = provider; },
  },
};

class LanguageClient {
  constructor(id, name, server, options) { told.client = { id, server, options, isStarted: false }; }
  start() { told.client.isStarted = true; }
  stop() { told.client.isStarted = false; }
}

const load = Module._load;
Module._load = (name, ...rest) => name === 'vscode' ? vscode
  : name === 'vscode-languageclient/node' ? { LanguageClient } : load(name, ...rest);
const extension = require('../extension.js');

test.beforeEach(() => {
  told = { tasks: [], commands: {}, errors: [] };
  editor = undefined;
  extension.activate({ subscriptions: [] });
});

function openProgram() {
  editor = { document: { isUntitled: false, fileName: '/d/a.lsp', save: async () => { told.isSaved = true; } } };
}

function session(picture, type = 'lisp-worker') {
  return {
    type,
    customRequest: async (name) => {
      assert.equal(name, 'picture');
      if (picture === undefined) throw new Error('no run');
      return { svg: picture };
    },
  };
}

test('starts the language server that the settings name, and ends it', () => {
  assert.deepEqual(told.client.server, { command: '/opt/lisp_console', args: ['lsp'] });
  assert.ok(told.client.isStarted);
  extension.deactivate();
  assert.ok(!told.client.isStarted);
});

test('runs and checks the saved program, with the matcher for its messages', async () => {
  openProgram();
  await told.commands['lispWorker.run']();
  await told.commands['lispWorker.check']();
  assert.ok(told.isSaved);
  assert.deepEqual(told.tasks.map((task) => task.execution.words), [['/d/a.lsp'], ['check', '/d/a.lsp']]);
  assert.equal(told.tasks[1].matcher, '$lisp-worker');
});

test('says so when there is no program to run', async () => {
  await told.commands['lispWorker.run']();
  assert.deepEqual(told.errors, ['Save the program first.']);
  assert.equal(told.tasks.length, 0);
});

test('debugs the program in front when there is no configuration', () => {
  const { resolveDebugConfiguration } = told.configurations;
  assert.equal(resolveDebugConfiguration(undefined, {}), undefined);
  openProgram();
  assert.equal(resolveDebugConfiguration(undefined, {}).program, '/d/a.lsp');
  const given = { type: 'lisp-worker', program: '/d/b.lsp' };
  assert.equal(resolveDebugConfiguration(undefined, given), given);
  assert.deepEqual(told.adapters.createDebugAdapterDescriptor(),
    { command: '/opt/lisp_console', words: ['dap'] });
});

test('shows the drawing of each stop, as a picture that cannot run anything', async () => {
  vscode.debug.activeDebugSession = session('<svg>one</svg>');
  await told.commands['lispWorker.showPicture']();
  const shown = () => Buffer.from(/base64,([^"]*)/.exec(panel.webview.html)[1], 'base64').toString();
  assert.equal(shown(), '<svg>one</svg>');
  assert.match(panel.webview.html, /default-src 'none'/);
  assert.deepEqual(panel.options, {});
  const follow = (from, message) => told.trackers.createDebugAdapterTracker(from).onDidSendMessage(message);
  follow(session('<svg>two</svg>'), { type: 'event', event: 'stopped' });
  await new Promise(setImmediate);
  assert.equal(shown(), '<svg>two</svg>');
  follow(session('<svg>three</svg>'), { type: 'event', event: 'output' });
  follow(session(undefined), { type: 'event', event: 'stopped' });
  follow(session('<svg>four</svg>', 'other'), { type: 'event', event: 'stopped' });
  await new Promise(setImmediate);
  assert.equal(shown(), '<svg>two</svg>');
  panel.close();
  await told.commands['lispWorker.showPicture']();
  assert.equal(shown(), '<svg>one</svg>');
});
