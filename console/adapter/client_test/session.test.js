// The debug adapter as an editor sees it: real sessions with lisp_console over pipes and a port.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { readdirSync, readFileSync, rmSync } from 'node:fs';
import net from 'node:net';
import { join } from 'node:path';
import { describe, test } from 'node:test';
import { Adapter, consolePath, frame, session, talk, unframe } from './adapter.js';
import { faultOf } from './schema.js';

const areas = `(DEFUN AREA (W H / A)
  (SETQ A (* W H))
  A)
(SETQ TOTAL 0)
(SETQ TOTAL (+ TOTAL (AREA 2 3)))
(SETQ TOTAL (+ TOTAL (AREA 4 5)))
(LIST TOTAL
  (AREA 1 1))
`;

const loop = `(SETQ N 0)
(WHILE (< N 6)
  (SETQ N (1+ N)))
`;

const holes = `;@ entity ((0 "POINT") (10 (9 9)))
(SETQ N 0)
(WHILE (< N 3)
  (SETQ N (1+ N))
  (COMMAND "CIRCLE" (LIST N 0) N))
(COMMAND "CIRCLE" '(0 0) -1)
(COMMAND "ERASE" "E3" "")
(/ 1 0)
`;

const entry = { stopOnEntry: true };

describe('the judge of messages', () => {
  const good = { seq: 1, type: 'event', event: 'stopped', body: { reason: 'step', threadId: 1 } };
  for (const [name, wrong] of [
    ['a field that is not there', { ...good, body: { threadId: 1 } }],
    ['a field of another type', { ...good, body: { reason: 'step', threadId: 'one' } }],
    ['a number that is not whole', { ...good, body: { reason: 'step', threadId: 1.5 } }],
    ['a field that nobody knows', { ...good, body: { reason: 'step', thread: 1 } }],
    ['an event that nobody knows', { ...good, event: 'stoped' }],
  ]) {
    test(`refuses ${name}`, () => {
      assert.equal(faultOf(good), '');
      assert.notEqual(faultOf(wrong), '');
    });
  }
});

// Each capability is claimed, and its request works.
describe('capabilities', () => {
  const at = (s) => ({ source: { path: s.file }, line: 2 });
  const frameOf = async (s) =>
    (await s.stackTraceRequest({ threadId: 1 })).body.stackFrames[0].id;
  const claims = {
    supportsConfigurationDoneRequest: () => {},
    supportsFunctionBreakpoints: (s) =>
      s.setFunctionBreakpointsRequest({ breakpoints: [{ name: 'AREA' }] }),
    supportsConditionalBreakpoints: (s) => s.breakAt({ line: 2, condition: '(> W 2)' }),
    supportsHitConditionalBreakpoints: (s) => s.breakAt({ line: 2, hitCondition: '2' }),
    supportsEvaluateForHovers: (s) => s.value('(+ 1 2)', { context: 'hover' }),
    supportsStepBack: (s) => s.move('stepBack'),
    supportsRestartFrame: async (s) => s.restartFrameRequest({ frameId: await frameOf(s) }),
    supportsGotoTargetsRequest: (s) => s.gotoTargetsRequest(at(s)),
    supportsCompletionsRequest: (s) => s.completionsRequest({ text: '(AR', column: 4 }),
    supportsRestartRequest: (s) => s.restartRequest({}),
    supportsExceptionInfoRequest: async (s) => {
      await s.restartRequest({ arguments: { form: '(/ 1 0)', atError: true } });
      await s.exceptionInfoRequest({ threadId: 1 });
    },
    supportsExceptionFilterOptions: (s) => s.setExceptionBreakpointsRequest(
      { filters: [], filterOptions: [{ filterId: 'error', condition: 'T' }] }),
    supportsDelayedStackTraceLoading: async (s) => {
      const page = await s.stackTraceRequest({ threadId: 1, startFrame: 0, levels: 1 });
      assert.equal(page.body.stackFrames.length, 1);
    },
    supportsLoadedSourcesRequest: async (s) => {
      const all = await s.send('loadedSources');
      assert.deepEqual(all.body.sources, [{ name: 'p.lsp', path: s.file }]);
    },
    supportsLogPoints: (s) => s.breakAt({ line: 2, logMessage: '{W}' }),
    supportsTerminateRequest: (s) => s.send('terminate'),
    supportsDataBreakpoints: async (s) => {
      const info = await s.dataBreakpointInfoRequest({ name: 'TOTAL' });
      await s.setDataBreakpointsRequest({ breakpoints: [{ dataId: info.body.dataId }] });
    },
    supportsCancelRequest: (s) => s.send('cancel', { requestId: 1 }),
    supportsBreakpointLocationsRequest: (s) => s.send('breakpointLocations', at(s)),
    supportsClipboardContext: (s) => s.value('(LIST 1)', { context: 'clipboard' }),
    supportsSteppingGranularity: (s) => s.move('next', { granularity: 'line' }),
  };
  for (const [capability, use] of Object.entries(claims)) {
    test(capability, session(async (s) => {
      await s.begin(areas, entry);
      const claimed = s.messages.find((m) => m.command === 'initialize').body;
      assert.equal(claimed[capability], true);
      await use(s);
    }));
  }
  test('are claimed for nothing else', session(async (s) => {
    await s.begin(areas, entry);
    const claimed = s.messages.find((m) => m.command === 'initialize').body;
    const names = Object.keys(claimed).filter((name) => claimed[name] === true);
    assert.deepEqual(names.sort(), Object.keys(claims).sort());
  }));
});

describe('breakpoints of lines', () => {
  // By line: where a breakpoint there ends up, and where the program stops for it first.
  const places = { 1: '1:1', 2: '2:3', 3: '4:1', 4: '4:1', 5: '5:1', 6: '6:1', 7: '7:1', 8: '8:3' };
  for (const [line, place] of Object.entries(places)) {
    test(`line ${line} stops at ${place}`, session(async (s) => {
      const stop = await s.begin(areas, {}, async () => {
        const [set] = await s.breakAt({ line: Number(line) });
        assert.ok(set.verified);
        assert.equal(`${set.line}:${set.column}`, place);
        assert.equal(set.source.path, s.file);
      });
      assert.equal(stop.split(' ').slice(0, 2).join(' '), `breakpoint ${place}`);
    }));
    test(`line ${line} stops on the way back, too`, session(async (s) => {
      await s.begin(areas, { stopAtEnd: true });
      await s.breakAt({ line: Number(line) });
      const stop = await s.move('reverseContinue');
      assert.equal(stop.split(' ').slice(0, 2).join(' '), `breakpoint ${place}`);
    }));
  }
  test('the test library hits one in its own way', session(async (s) => {
    s.write('p.lsp', areas);
    await s.hitBreakpoint({ program: s.file }, { path: s.file, line: 2 });
  }));
  test('behind the last form cannot be', session(async (s) => {
    await s.begin(areas, entry);
    for (const line of [9, 10, 1000000, 2147483647]) {
      const [set] = await s.breakAt({ line });
      assert.equal(set.verified, false);
      assert.match(set.message, /no form begins/);
    }
  }));
  test('of another file cannot be', session(async (s) => {
    await s.begin(areas, entry);
    const set = await s.setBreakpointsRequest(
      { source: { path: join(s.directory, 'q.lsp') }, breakpoints: [{ line: 1 }] });
    assert.match(set.body.breakpoints[0].message, /no form of this file/);
  }));
  test('are all taken away by an empty list', session(async (s) => {
    await s.begin(areas, entry);
    await s.breakAt({ line: 2 }, { line: 5 });
    assert.deepEqual(await s.breakAt(), []);
    assert.equal(await s.move('continue'), 'ended');
  }));
  test('of a library stop there', session(async (s) => {
    const library = s.write('lib.lsp', '; functions\n(DEFUN TWICE (X)\n  (* 2 X))\n');
    await s.begin('(TWICE 4)\n', { ...entry, libraries: [library] });
    const set = await s.setBreakpointsRequest({ source: { path: library }, breakpoints: [{ line: 3 }] });
    assert.ok(set.body.breakpoints[0].verified);
    assert.equal(await s.move('continue'), 'breakpoint 3:3 TWICE');
  }));
  test('set before the launch are found then', session(async (s) => {
    s.write('p.lsp', areas);
    await s.initializeRequest();
    const [early] = await s.breakAt({ line: 3 });
    assert.equal(early.verified, false);
    const changed = s.waitForEvent('breakpoint');
    await s.launchRequest({ program: s.file });
    const { body } = await changed;
    assert.equal(body.breakpoint.id, early.id);
    assert.equal(body.breakpoint.line, 4);
    assert.equal(await s.arrival(() => s.configurationDoneRequest()), 'breakpoint 4:1 top level');
  }));
});

describe('conditions and hits', () => {
  for (const [wish, stops] of [
    [{}, '0 1 2 3 4 5'], [{ condition: '(> N 2)' }, '3 4 5'], [{ condition: '(= Q 1)' }, ''],
    [{ condition: ' ' }, '0 1 2 3 4 5'],
    [{ hitCondition: '4' }, '3 4 5'], [{ hitCondition: '>= 4' }, '3 4 5'],
    [{ hitCondition: '> 4' }, '4 5'], [{ hitCondition: '== 4' }, '3'], [{ hitCondition: '=4' }, '3'],
    [{ hitCondition: '< 3' }, '0 1'], [{ hitCondition: '<= 3' }, '0 1 2'],
    [{ hitCondition: '% 2' }, '1 3 5'], [{ hitCondition: '0' }, '0 1 2 3 4 5'],
    [{ condition: '(> N 1)', hitCondition: '= 2' }, '3'],
  ]) {
    test(`${JSON.stringify(wish)} stops for ${stops || 'nothing'}`, session(async (s) => {
      await s.begin(loop, entry);
      await s.breakAt({ line: 3, ...wish });
      const seen = [];
      while (await s.move('continue') !== 'ended') seen.push(await s.value('N'));
      assert.equal(seen.join(' '), stops);
    }));
  }
  for (const [wish, reason] of [
    [{ condition: '(CAR' }, /cannot be read: unterminated list/],
    [{ condition: ')' }, /cannot be read/],
    [{ hitCondition: 'often' }, /write a number/], [{ hitCondition: '% 0' }, /write a number/],
    [{ hitCondition: '>' }, /write a number/], [{ hitCondition: '3 4' }, /write a number/],
    [{ hitCondition: '99999999999999999999999' }, /write a number/],
    [{ logMessage: '{(}' }, /log message cannot be read/],
  ]) {
    test(`${JSON.stringify(wish)} is refused`, session(async (s) => {
      await s.begin(loop, entry);
      const [set] = await s.breakAt({ line: 3, ...wish });
      assert.equal(set.verified, false);
      assert.match(set.message, reason);
      assert.equal(await s.move('continue'), 'ended');
    }));
  }
  test('log messages are told with their places', session(async (s) => {
    await s.begin(loop, entry);
    await s.breakAt({ line: 3, logMessage: 'N={N} {(* N N)} {Q}' });
    assert.equal(await s.move('continue'), 'ended');
    const logs = s.messages.filter((m) => m.event === 'output' && m.body.line === 3);
    assert.equal(logs.length, 6);
    assert.equal(logs[5].body.output, 'N=5 25 {unbound symbol: Q}\n');
    assert.equal(logs[5].body.source.path, s.file);
  }));
});

describe('functions, data and exceptions', () => {
  test('a function stops in each call', session(async (s) => {
    await s.begin(areas, entry);
    await s.setFunctionBreakpointsRequest({ breakpoints: [{ name: 'area', hitCondition: '2' }] });
    assert.equal(await s.move('continue'), 'function breakpoint 2:3 AREA');
    assert.equal(await s.value('(LIST W H)'), '(4 5)');
    assert.equal(await s.move('continue'), 'function breakpoint 2:3 AREA');
    assert.equal(await s.move('continue'), 'ended');
  }));
  test('a host function stops at its calls', session(async (s) => {
    await s.begin(holes, entry);
    await s.setFunctionBreakpointsRequest({ breakpoints: [{ name: 'COMMAND', condition: '(= N 2)' }] });
    assert.equal(await s.move('continue'), 'function breakpoint 5:3 top level');
    assert.equal(await s.move('continue'), 'ended');
  }));
  test('a function that nobody calls cannot be', session(async (s) => {
    await s.begin(areas, entry);
    const set = await s.setFunctionBreakpointsRequest({ breakpoints: [{ name: 'NOBODY' }] });
    assert.match(set.body.breakpoints[0].message, /never calls/);
  }));
  test('data stops after each assignment', session(async (s) => {
    await s.begin(areas, entry);
    const info = await s.dataBreakpointInfoRequest({ name: 'total' });
    assert.equal(info.body.dataId, 'set TOTAL');
    await s.setDataBreakpointsRequest({ breakpoints: [{ dataId: 'set TOTAL', condition: '(> TOTAL 0)' }] });
    assert.equal(await s.move('continue'), 'data breakpoint 6:1 top level');
    assert.equal(await s.value('TOTAL'), '6');
    assert.equal(await s.move('continue'), 'data breakpoint 7:1 top level');
    assert.equal(await s.move('reverseContinue'), 'data breakpoint 6:1 top level');
  }));
  test('an entity stops after each of its changes', session(async (s) => {
    await s.begin(holes, entry);
    await s.setDataBreakpointsRequest({ breakpoints: [{ dataId: 'entity E3' }] });
    assert.equal(await s.move('continue'), 'data breakpoint 3:8 top level');
    assert.equal(await s.move('continue'), 'data breakpoint 8:1 top level');
    assert.equal(await s.move('continue'), 'ended');
  }));
  test('what nothing assigns cannot be watched', session(async (s) => {
    await s.begin(areas, entry);
    const info = await s.dataBreakpointInfoRequest({ name: 'NOTHING' });
    assert.equal(info.body.dataId, null);
    assert.match(info.body.description, /nothing in this run assigns NOTHING/);
  }));
  test('errors and refusals stop', session(async (s) => {
    await s.begin(holes, entry);
    await s.setExceptionBreakpointsRequest({ filters: ['error', 'refusal'] });
    assert.equal(await s.move('continue'), 'exception 6:1 top level');
    assert.equal((await s.exceptionInfoRequest({ threadId: 1 })).body.exceptionId, 'refusal');
    assert.equal(await s.move('continue'), 'exception 8:1 top level');
    const info = (await s.exceptionInfoRequest({ threadId: 1 })).body;
    assert.equal(info.description, 'division by zero');
    assert.equal(await s.move('continue'), 'ended');
  }));
  test('without filters nothing stops', session(async (s) => {
    assert.equal(await s.begin(holes), 'ended');
    assert.match(s.output('stderr'), /refused: /);
    assert.match(s.output('stderr'), /division by zero/);
    assert.equal(s.messages.find((m) => m.event === 'exited').body.exitCode, 1);
  }));
  test('a program without a fault has no exception', session(async (s) => {
    await s.begin(areas, entry);
    assert.match(await s.refusal('exceptionInfo', { threadId: 1 }), /nothing fails/);
  }));
});

describe('steps', () => {
  // From a breakpoint in line 2, in the first call of AREA.
  for (const [command, granularity, place] of [
    ['next', 'statement', 'step 6:1 top level'], ['stepIn', 'statement', 'step 2:11 AREA'],
    ['stepOut', 'statement', 'step 6:1 top level'], ['stepBack', 'statement', 'step 5:22 top level'],
    ['stepBackIn', 'statement', 'step 5:22 top level'],
    ['stepBackOut', 'statement', 'step 5:22 top level'],
    ['next', 'line', 'step 6:1 top level'], ['stepIn', 'line', 'step 6:1 top level'],
    ['stepBack', 'line', 'step 5:22 top level'],
    ['next', 'instruction', 'step 2:11 AREA'], ['stepIn', 'instruction', 'step 2:11 AREA'],
    ['stepBack', 'instruction', 'step 5:30 top level'],
    ['stepBackIn', 'instruction', 'step 5:30 top level'],
    ['stepOut', 'instruction', 'step 6:1 top level'],
  ]) {
    test(`${command} by ${granularity} goes to ${place}`, session(async (s) => {
      await s.begin(areas, {}, () => s.breakAt({ line: 2, hitCondition: '= 1' }));
      await s.breakAt();
      assert.equal(await s.move(command, { granularity }), place);
    }));
  }
  test('back lead to the beginning and no further', session(async (s) => {
    await s.begin(areas, entry);
    for (const command of ['stepBack', 'stepBackIn', 'stepBackOut', 'reverseContinue']) {
      assert.equal(await s.move(command), 'entry 1:1 top level');
    }
  }));
  test('forwards and backwards meet at the same places', session(async (s) => {
    const seen = [await s.begin(areas, { ...entry, stopAtEnd: true })];
    for (let stop = ''; !stop.startsWith('end ');) {
      stop = await s.move('stepIn');
      seen.push(stop);
    }
    for (const place of seen.reverse().slice(1)) {
      const back = await s.move('stepBackIn');
      assert.equal(back.split(' ')[1], place.split(' ')[1]);
    }
  }));
  test('stop at breakpoints on their way', session(async (s) => {
    await s.begin(areas, {}, () => s.breakAt({ line: 5 }, { line: 2 }));
    assert.equal(await s.move('next'), 'breakpoint 2:3 AREA');
    assert.equal(await s.move('stepOut'), 'step 6:1 top level');
    assert.equal(await s.move('stepBack'), 'breakpoint 2:3 AREA');
  }));
  test('restart a frame', session(async (s) => {
    await s.begin(areas, {}, () => s.breakAt({ line: 2 }));
    await s.move('stepIn');
    const { stackFrames } = (await s.stackTraceRequest({ threadId: 1 })).body;
    assert.equal(stackFrames.length, 2);
    assert.equal(await s.arrival(() => s.restartFrameRequest({ frameId: stackFrames[0].id })),
                 'restart 2:3 AREA');
  }));
  test('go to a line', session(async (s) => {
    await s.begin(areas, entry);
    const { targets } = (await s.gotoTargetsRequest({ source: { path: s.file }, line: 8 })).body;
    assert.equal(await s.arrival(() => s.gotoRequest({ threadId: 1, targetId: targets[0].id })),
                 'goto 8:3 top level');
  }));
  test('at the end the program can be looked at', session(async (s) => {
    assert.equal(await s.begin(areas, { stopAtEnd: true }), 'end 7:1 top level');
    assert.equal(await s.value('TOTAL'), '26');
    assert.equal(await s.move('stepBackIn'), 'step 2:11 AREA');
  }));
});

describe('variables', () => {
  const scopesOf = async (s, frameAt = 0) => {
    const { stackFrames } = (await s.stackTraceRequest({ threadId: 1 })).body;
    return (await s.scopesRequest({ frameId: stackFrames[frameAt].id })).body.scopes;
  };
  const show = async (s, name, frameAt = 0) => {
    const scope = (await scopesOf(s, frameAt)).find((each) => each.name === name);
    const { variables } = (await s.variablesRequest(
      { variablesReference: scope.variablesReference })).body;
    return variables.map((each) => `${each.name}=${each.value}`).join(' ');
  };
  test('are in scopes', session(async (s) => {
    await s.begin(areas, {}, () => s.breakAt({ line: 2 }));
    assert.deepEqual((await scopesOf(s)).map((each) => each.name),
                     ['Parameters', 'Locals', 'Globals', 'The drawing']);
    assert.deepEqual((await scopesOf(s, 1)).map((each) => each.name), ['Globals', 'The drawing']);
    assert.equal(await show(s, 'Parameters'), 'W=2 H=3');
    assert.equal(await show(s, 'Locals'), 'A=nil');
    await s.move('stepIn');
    await s.move('next');
    assert.equal(await show(s, 'Globals'), 'TOTAL=6');
  }));
  test('of a drawing are entities and their groups', session(async (s) => {
    await s.begin(holes, entry);
    assert.equal(await show(s, 'The drawing'), 'current layer=0 E1=E1 POINT on layer 0: at (9 9)');
    const scope = (await scopesOf(s))[1];
    const { variables } = (await s.variablesRequest(
      { variablesReference: scope.variablesReference, filter: 'indexed' })).body;
    const groups = (await s.variablesRequest(
      { variablesReference: variables[0].variablesReference })).body.variables;
    assert.deepEqual(groups.find((each) => each.name === '0').value, '"POINT"');
  }));
  for (const [start, count, names] of [
    [0, 3, '0 1 2'], [497, 3, '497 498 499'], [498, 10, '498 499'], [500, 10, ''], [9999999, 1, ''],
    [0, 1, '0'],
  ]) {
    test(`of a long list come in pages: ${start}, ${count}`, session(async (s) => {
      await s.begin('(SETQ N 0 L nil)\n(WHILE (< N 500) (SETQ L (CONS N L) N (1+ N)))\n',
                    { stopAtEnd: true });
      const list = (await s.evaluateRequest({ expression: 'L' })).body;
      assert.equal(list.indexedVariables, 500);
      const { variables } = (await s.variablesRequest({
        variablesReference: list.variablesReference, filter: 'indexed', start, count })).body;
      assert.equal(variables.map((each) => each.name).join(' '), names);
      for (const each of variables) assert.equal(each.value, String(499 - Number(each.name)));
    }));
  }
  test('of lists in lists are expanded', session(async (s) => {
    await s.begin("(SETQ L '((1 2) (3 (4 5))))\n(LIST L)\n", entry);
    await s.move('next');
    let { variablesReference } = (await s.evaluateRequest({ expression: 'L' })).body;
    const shown = [];
    while (variablesReference !== 0) {
      const { variables } = (await s.variablesRequest({ variablesReference })).body;
      shown.push(variables.at(-1).value);
      variablesReference = variables.at(-1).variablesReference;
    }
    assert.deepEqual(shown, ['(3 (4 5))', '(4 5)', '5']);
  }));
  test('of an earlier moment are refused', session(async (s) => {
    await s.begin(areas, entry);
    const [scope] = await scopesOf(s);
    await s.move('next');
    assert.match(await s.refusal('variables', { variablesReference: scope.variablesReference }),
                 /no variable/);
  }));
  test('cannot be set', session(async (s) => {
    await s.begin(areas, entry);
    assert.match(await s.refusal('setVariable', { variablesReference: 1, name: 'A', value: '1' }),
                 /cannot be changed/);
  }));
});

describe('expressions', () => {
  for (const [expression, context, result] of [
    ['TOTAL', 'watch', '26'], ['(* 2 TOTAL)', 'watch', '52'], ['(AREA 3 3)', 'watch', '9'],
    ['total', 'hover', '26'], ['"a\\"b"', 'watch', '"a\\"b"'], ["'(1 (2))", 'repl', '(1 (2))'],
    ['nil', 'repl', 'nil'], ['', 'watch', /must be a text, and not empty/],
    ['Q', 'watch', /unbound symbol: Q/], ['(CAR', 'repl', /unterminated list/],
    ['(/ 1 0)', 'watch', /division by zero/], ['(GETPOINT)', 'repl', /asks the host/],
    ['(WHILE T 1)', 'watch', /step limit/], ['why TOTAL', 'repl', /^TOTAL is 26\n {2}set by/],
    ['why not 3', 'repl', /it was evaluated 3 times/], ['why entity E1', 'repl', /no entity/],
    ['history TOTAL', 'repl', /TOTAL = 6/], ['vars', 'repl', /global\n {2}TOTAL = 26/],
    ['stack', 'repl', /at the top level/], ['calls', 'repl', /no host calls/],
    ['drawing', 'repl', /0 entities/], ['changes', 'repl', /nothing is changed/],
    ['help', 'repl', /why not LINE/], ['CONS', 'hover', /\(CONS VALUE LIST\)/],
    ['when (> N', 'repl', /cannot be read/], ['goto 99999', 'repl', /goto takes/],
  ]) {
    test(`${JSON.stringify(expression)} in ${context}`, session(async (s) => {
      await s.begin(areas, { stopAtEnd: true });
      const shown = await s.value(expression, { context }).catch((error) => error.message);
      if (typeof result === 'string') assert.equal(shown, result);
      else assert.match(shown, result);
    }));
  }
  test('may lead to another moment', session(async (s) => {
    await s.begin(loop, entry);
    assert.equal(await s.arrival(() => s.value('when (= N 4)', { context: 'repl' })),
                 'goto 2:8 top level');
    assert.equal(await s.value('N'), '4');
    assert.equal(await s.arrival(() => s.value('goto end', { context: 'repl' })), 'goto 2:1 top level');
  }));
  test('are completed', session(async (s) => {
    await s.begin(areas, entry);
    const complete = async (text) => (await s.completionsRequest({ text, column: text.length + 1 }))
      .body.targets.map((each) => each.label);
    assert.deepEqual(await complete('(COMMAND "CI'), ['CIRCLE']);
    assert.ok((await complete('(PRO')).includes('PROGN'));
    assert.ok((await complete('hist')).includes('history'));
  }));
});

describe('launches', () => {
  for (const [launch, reason] of [
    [{}, /"program" must be the path/], [{ program: '' }, /"program" must be the path/],
    [{ program: 5 }, /must be a text/], [{ progam: 'a' }, /did you mean "program"/],
    [{ program: 'a', stopOnEntri: true }, /did you mean "stopOnEntry"/],
    [{ program: 'a', libraries: 'b' }, /list of texts/], [{ program: 'a', libraries: [1] }, /list of texts/],
    [{ program: 'a', maxCalls: 1.5 }, /whole number/], [{ program: 'a', strict: 1 }, /true or false/],
    [{ program: 'a', form: 'b' }, /exclude each other/], [{ program: '/none/at/all.lsp' }, /all\.lsp/],
    [{ program: '/dev/null/x' }, /x/], [{ form: '(CAR' }, /unterminated list/],
    [{ form: '1', drawing: '/none.json' }, /none\.json/], [{ form: '1', answers: '/none' }, /none/],
    [{ form: '1', answers: ['HELLO 5'] }, /HELLO/], [{ form: '1', libraries: ['/none.lsp'] }, /none\.lsp/],
    [{ form: ';@ drawing a.json\n1' }, /only a file can name other files/],
  ]) {
    test(`${JSON.stringify(launch)} is refused`, session(async (s) => {
      await s.initializeRequest();
      assert.match(await s.refusal('launch', launch), reason);
      await s.launchRequest({ form: '(+ 1 2)' });
    }));
  }
  test('of a form have a source by reference', session(async (s) => {
    await s.initializeRequest();
    await s.launchRequest({ form: '(LIST 1 2)', stopOnEntry: true });
    await s.arrival(() => s.configurationDoneRequest());
    const { stackFrames } = (await s.stackTraceRequest({ threadId: 1 })).body;
    const { source } = stackFrames[0];
    assert.ok(source.sourceReference > 0);
    assert.equal((await s.sourceRequest({ sourceReference: source.sourceReference })).body.content,
                 '(LIST 1 2)');
  }));
  test('of a file that vanishes keep its text', session(async (s) => {
    await s.begin(areas, entry);
    rmSync(s.file);
    const { source } = (await s.stackTraceRequest({ threadId: 1 })).body.stackFrames[0];
    assert.equal((await s.sourceRequest({ source, sourceReference: source.sourceReference })).body.content,
                 areas);
    assert.equal(await s.move('next'), 'step 4:1 top level');
    assert.match(await s.refusal('restart', {}), /p\.lsp/);
  }));
  test('restart with the file as it is then', session(async (s) => {
    await s.begin(areas, entry);
    s.write('p.lsp', '\n\n(LIST 1)\n');
    assert.equal(await s.arrival(() => s.restartRequest({})), 'entry 3:1 top level');
  }));
  test('without debugging run to the end', session(async (s) => {
    assert.equal(await s.begin(areas, { noDebug: true, stopOnEntry: true }), 'ended');
    assert.match(s.output('console'), /= \(26 1\), after/);
  }));
  test('at an error begin there', session(async (s) => {
    assert.equal(await s.begin(holes, { atError: true }), 'exception 8:1 top level');
  }));
  test('at the step limit show the run up to there', session(async (s) => {
    const stop = await s.begin('(WHILE T (LIST 1))\n', { atError: true });
    assert.match(stop, /^exception 1:/);
    assert.equal(await s.move('stepBackIn'), 'step 1:10 top level');
  }));
  test('that wait for an answer show the run up to there', session(async (s) => {
    await s.begin('(SETQ A (GETDIST))\n(SETQ B (GETDIST))\n',
                  { answers: ['GETDIST 5'], stopAtEnd: true });
    assert.equal(await s.value('A'), '5');
    assert.match(await s.value('B').catch((error) => error.message), /unbound/);
  }));
  test('are cancelled while they run', session(async (s) => {
    await s.initializeRequest();
    const text = '(SETQ N 0)\n(WHILE (< N 9000) (COMMAND "POINT" (LIST N 0)) (SETQ N (1+ N)))\n';
    s.write('p.lsp', text);
    const launched = s.refusal('launch', { program: s.file, maxCalls: 10000 });
    await s.send('cancel', { requestId: 2 });
    assert.equal(await launched, 'cancelled');
  }));
});

describe('requests out of place', () => {
  for (const command of [
    'launch', 'configurationDone', 'setBreakpoints', 'threads', 'stackTrace', 'scopes', 'variables',
    'evaluate', 'next', 'stepBackIn', 'continue', 'terminate', 'cancel',
  ]) {
    test(`${command} before initialize is refused`, session(async (s) => {
      assert.match(await s.refusal(command, {}), /initialize begins a session/);
    }));
  }
  for (const command of [
    'stackTrace', 'scopes', 'variables', 'evaluate', 'next', 'stepIn', 'stepOut', 'stepBack',
    'continue', 'reverseContinue', 'goto', 'restartFrame', 'restart', 'source', 'loadedSources',
  ]) {
    test(`${command} before a launch is refused`, session(async (s) => {
      await s.initializeRequest();
      assert.match(await s.refusal(command, {}), /launch runs one/);
    }));
  }
  for (const [command, more, reason] of [
    ['fly', {}, /no request "fly"/], ['scopes', {}, /"frameId" must be/],
    ['scopes', { frameId: 77 }, /no frame 77/], ['variables', { variablesReference: 77 }, /no variable 77/],
    ['variables', { variablesReference: -1 }, /whole number/],
    ['variables', { variablesReference: 1, filter: 'all' }, /"filter" must be/],
    ['evaluate', { expression: 5 }, /"expression" must be a text/],
    ['evaluate', { expression: '1', frameId: 77 }, /no frame 77/],
    ['setBreakpoints', { source: {}, breakpoints: [] }, /"source" must be/],
    ['setBreakpoints', { source: { path: 'p' }, breakpoints: [5] }, /list of objects/],
    ['setBreakpoints', { source: { path: 'p' }, breakpoints: [{}] }, /"line" must be/],
    ['setFunctionBreakpoints', { breakpoints: [{}] }, /"name" must be/],
    ['setDataBreakpoints', { breakpoints: [{ dataId: 1 }] }, /"dataId" must be/],
    ['setExceptionBreakpoints', { filters: 'error' }, /list of texts/],
    ['next', { threadId: 1, granularity: 'word' }, /"granularity" must be/],
    ['goto', { threadId: 1, targetId: 0 }, /no target 0/],
    ['goto', { threadId: 1, targetId: 2147483648 }, /whole number/],
    ['restartFrame', { frameId: 'x' }, /whole number/], ['pause', { threadId: 1 }, /nothing runs/],
    ['attach', { program: 'x' }, /nothing to attach to/],
    ['source', { sourceReference: 99 }, /no part in the run/],
    ['initialize', { adapterID: 'x' }, /begun already/],
    ['launch', { form: '1' }, /launched already/],
  ]) {
    test(`${command} ${JSON.stringify(more)} is refused`, session(async (s) => {
      await s.begin(areas, entry);
      assert.match(await s.refusal(command, more), reason);
      assert.equal(await s.move('next'), 'step 4:1 top level');
    }));
  }
});

describe('bytes', () => {
  const hello = frame({ seq: 1, type: 'request', command: 'initialize', arguments: { adapterID: 'x' } });
  const bye = frame({ seq: 2, type: 'request', command: 'disconnect' });
  for (const [name, bytes, complaint] of [
    ['an empty input', '', /^$/], ['a client that leaves', hello, /^$/],
    ['a client that leaves in mid-header', `${hello}Content-Le`, /middle of a message/],
    ['a client that leaves in mid-message', `${hello}Content-Length: 50\r\n\r\n{"seq"`, /middle of a message/],
    ['a length that is too large', 'Content-Length: 99999999999\r\n\r\n{}', /cannot be read/],
    ['a length in words', 'Content-Length: ten\r\n\r\n{}', /cannot be read/],
    ['a negative length', 'Content-Length: -5\r\n\r\n{}', /cannot be read/],
    ['no length', 'Content-Type: x\r\n\r\n{}', /cannot be read/],
    ['a request of a browser', 'POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 2\r\n\r\n{}', /cannot be read/],
    ['a header without an end', 'x'.repeat(100000), /cannot be read/],
  ]) {
    test(`of ${name}`, async () => {
      const ended = await talk(bytes);
      assert.match(ended.complaint.replace(/^lisp_console: /, '').trim(), complaint);
      assert.equal(ended.code, ended.complaint === '' ? 0 : 2);
      unframe(ended.output);
    });
  }
  for (const [name, body] of [
    ['that is no JSON', '{"seq": 1,'], ['that is empty', ''], ['that is a list', '[1]'],
    ['with a lone surrogate', '{"seq": 1, "type": "request", "command": "\\ud800"}'],
    ['with bytes that are no text', Buffer.from([0x22, 0xff, 0xfe, 0x22]).toString('latin1')],
    ['without a number', '{"type": "request", "command": "threads"}'],
    ['with a number that is none', '{"seq": "1", "type": "request", "command": "threads"}'],
    ['of no type', '{"seq": 1}'],
  ]) {
    test(`of a message ${name}`, async () => {
      const ended = await talk(hello + frame(body) + bye);
      const messages = unframe(ended.output);
      const refused = messages.filter((m) => m.type === 'response' && !m.success);
      assert.equal(refused.length, 1);
      assert.equal(messages.at(-1).command, 'disconnect');
      assert.equal(ended.code, 0);
    });
  }
  test('in one piece and one by one give the same answers', async () => {
    const program = frame({ seq: 2, type: 'request', command: 'launch',
      arguments: { form: '(LIST 1)', stopAtEnd: true } });
    const begin = frame({ seq: 3, type: 'request', command: 'configurationDone' });
    const whole = hello + program + begin + frame({ seq: 4, type: 'request', command: 'disconnect' });
    const { output } = await talk(whole);
    const child = spawn(consolePath, ['dap']);
    let slowly = '';
    child.stdout.on('data', (data) => { slowly += data; });
    for (const byte of Buffer.from(whole)) child.stdin.write(Buffer.from([byte]));
    await new Promise((resolve) => child.on('close', resolve));
    assert.equal(slowly, output);
    assert.ok(unframe(output).some((m) => m.event === 'stopped'));
  });
});

describe('a port', () => {
  const freePort = () => new Promise((resolve) => {
    const server = net.createServer().listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
  const serving = (run) => async () => {
    const port = await freePort();
    const server = spawn(consolePath, ['dap', '--port', String(port)]);
    const ended = new Promise((resolve) => server.on('exit', resolve));
    await new Promise((resolve) => server.stdout.once('data', resolve));
    try {
      await run(port, server);
    } finally {
      server.kill('SIGINT');
      assert.equal(await ended, 0);
    }
  };
  const connect = async (port) => {
    const client = new Adapter();
    await client.start(port);
    return client;
  };
  test('serves two clients at once', serving(async (port) => {
    const clients = [await connect(port), await connect(port)];
    const stops = await Promise.all(clients.map((each, n) =>
      each.begin(areas, {}, () => each.breakAt({ line: 4 + n }))));
    assert.deepEqual(stops, ['breakpoint 4:1 top level', 'breakpoint 5:1 top level']);
    const values = await Promise.all(clients.map((each) => each.move('next')));
    assert.deepEqual(values, ['step 5:1 top level', 'step 6:1 top level']);
    await clients[0].close();
    assert.equal(await clients[1].value('TOTAL'), '6');
    await clients[1].close();
  }));
  test('serves others after a client that was cut off', serving(async (port, server) => {
    for (let n = 0; n < 20; ++n) {
      const socket = net.connect(port, '127.0.0.1');
      await new Promise((resolve) => socket.once('connect', resolve));
      socket.write('Content-Length: 500\r\n\r\n{');
      socket.destroy();
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
    await new Promise((resolve) => setTimeout(resolve, 1200));
    const children = readFileSync(`/proc/${server.pid}/task/${server.pid}/children`, 'utf8');
    assert.equal(children.trim(), '', 'no session is left behind');
    const client = await connect(port);
    assert.equal(await client.begin(areas, entry), 'entry 1:1 top level');
    await client.close();
  }));
  test('is refused when somebody has it', serving(async (port) => {
    assert.throws(() => execFileSync(consolePath, ['dap', '--port', String(port)], { stdio: 'pipe' }),
                  /cannot be had/);
  }));
});

// Every example is launched, gone through forwards by forms and back again.
describe('examples', () => {
  const directory = process.env.LISP_SOURCE_DIR ? join(process.env.LISP_SOURCE_DIR, 'examples') : '';
  for (const name of readdirSync(directory).filter((each) => each.endsWith('.lsp'))) {
    test(name, session(async (s) => {
      await s.initializeRequest();
      const program = join(directory, name);
      try {
        await s.launchRequest({ program, stopOnEntry: true, stopAtEnd: true });
      } catch (error) {
        assert.match(name, /read_error/);  // The only one that cannot be run.
        return;
      }
      await s.arrival(() => s.configurationDoneRequest());
      let stop = '';
      for (let n = 0; n < 2000 && !stop.startsWith('end'); ++n) stop = await s.move('next');
      assert.ok(stop.startsWith('end'), stop);
      for (let n = 0; n < 20; ++n) await s.move('stepBackIn');
      const { stackFrames } = (await s.stackTraceRequest({ threadId: 1 })).body;
      for (const each of stackFrames) {
        const { scopes } = (await s.scopesRequest({ frameId: each.id })).body;
        for (const { variablesReference } of scopes) await s.variablesRequest({ variablesReference });
      }
      assert.match(await s.move('reverseContinue'), /^entry /);
    }));
  }
});
