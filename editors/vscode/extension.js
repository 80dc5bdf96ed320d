// The extension: a language server and a debug adapter, which are both the console, and a panel
// with the drawing at the step where the debugger has stopped.

'use strict';

const vscode = require('vscode');
const { LanguageClient } = require('vscode-languageclient/node');

let client;
let panel;

function consolePath() {
  return vscode.workspace.getConfiguration('lispWorker').get('console');
}

// Runs the console on the file of the editor that is in front, in a task.
async function runConsole(name, words) {
  const editor = vscode.window.activeTextEditor;
  if (!editor || editor.document.isUntitled) {
    await vscode.window.showErrorMessage('Save the program first.');
    return;
  }
  await editor.document.save();
  const execution = new vscode.ProcessExecution(consolePath(), [...words, editor.document.fileName]);
  const task = new vscode.Task(
    { type: 'process' }, vscode.TaskScope.Workspace, name, 'lisp_console', execution, '$lisp-worker');
  await vscode.tasks.executeTask(task);
}

// The page of the panel: nothing but a picture, so nothing of a drawing can be a script.
function pageWith(svg) {
  const data = Buffer.from(svg, 'utf8').toString('base64');
  return `<!DOCTYPE html><html><head><meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src data:; style-src 'unsafe-inline'">
<style>body { background: white; margin: 0; } img { width: 100%; height: 98vh; }</style></head>
<body><img alt="The drawing" src="data:image/svg+xml;base64,${data}"></body></html>`;
}

async function updatePicture(session) {
  if (!panel || !session || session.type !== 'lisp-worker') return;
  try {
    const answer = await session.customRequest('picture');
    if (panel) panel.webview.html = pageWith(answer.svg);
  } catch (error) {
    // There is no picture of a run that has just ended; the last one stays.
  }
}

async function showPicture() {
  if (!panel) {
    panel = vscode.window.createWebviewPanel(
      'lispWorkerPicture', 'Drawing', { viewColumn: vscode.ViewColumn.Beside, preserveFocus: true }, {});
    panel.onDidDispose(() => { panel = undefined; });
  }
  await updatePicture(vscode.debug.activeDebugSession);
}

// Follows the debugger: a picture for each stop.
class StopFollower {
  constructor(session) {
    this.session = session;
  }

  onDidSendMessage(message) {
    if (message.type === 'event' && message.event === 'stopped') updatePicture(this.session);
  }
}

function activate(context) {
  const command = consolePath();
  client = new LanguageClient(
    'lisp-worker', 'LISP worker', { command, args: ['lsp'] },
    { documentSelector: [{ scheme: 'file', language: 'lisp-worker' }, { scheme: 'untitled', language: 'lisp-worker' }] });
  client.start();
  context.subscriptions.push(
    vscode.commands.registerCommand('lispWorker.run', () => runConsole('run', [])),
    vscode.commands.registerCommand('lispWorker.check', () => runConsole('check', ['check'])),
    vscode.commands.registerCommand('lispWorker.showPicture', showPicture),
    vscode.debug.registerDebugAdapterDescriptorFactory('lisp-worker', {
      createDebugAdapterDescriptor: () => new vscode.DebugAdapterExecutable(consolePath(), ['dap']),
    }),
    vscode.debug.registerDebugAdapterTrackerFactory('lisp-worker', {
      createDebugAdapterTracker: (session) => new StopFollower(session),
    }),
    vscode.debug.registerDebugConfigurationProvider('lisp-worker', {
      // F5 without a configuration: the program that is in front.
      resolveDebugConfiguration(folder, configuration) {
        if (configuration.type) return configuration;
        const editor = vscode.window.activeTextEditor;
        if (!editor) return undefined;
        return {
          type: 'lisp-worker',
          request: 'launch',
          name: 'This program',
          program: editor.document.fileName,
          stopOnEntry: true,
        };
      },
    }));
}

function deactivate() {
  return client ? client.stop() : undefined;
}

module.exports = { activate, deactivate };
