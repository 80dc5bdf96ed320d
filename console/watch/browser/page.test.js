// The page of `lisp_console watch` in the distribution's Chromium.

import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {renameSync, rmSync, truncateSync, writeFileSync} from "node:fs";
import {after, before, test} from "node:test";
import {Watch, clickAt, litHandles, litLines, onScreen, openBrowser, openPage, shownHandles, status,
        waitFor, waitForStatus} from "./watch.js";

const REDRAWN_WITHIN = 200;  // Milliseconds, from the end of saving.
const CIRCLES = `(SETQ N 0)
(WHILE (< N 3)
  (COMMAND "CIRCLE" (LIST (* N 40) 0) 10)
  (SETQ N (1+ N)))
(COMMAND "LINE" "0,30" "80,30" "")
`;

let browser;
before(async () => { browser = await openBrowser(); });
after(() => browser.close());

// A watch and a page for one test, both closed behind it. The page must not have complained.
async function withPage(program, settings, body) {
  const watch = await Watch.start(program, settings);
  try {
    const page = await openPage(browser, watch, settings.page);
    await body(page, watch);
    assert.deepEqual(page.faults, []);
    await page.close();
  } finally {
    await watch.stop();
  }
}

// The milliseconds from the end of `save` to a page that satisfies `condition`, an expression.
async function redrawTime(page, save, condition) {
  await save();
  const saved = performance.now();
  await waitFor(page, condition);
  return performance.now() - saved;
}

const radiusIs = (radius) => `Math.abs(Number(document.getElementById("sheet").shadowRoot
  .querySelector("circle[data-handle]").getAttribute("r")) / Number(document.getElementById("sheet")
  .shadowRoot.querySelector("g[data-panel]").dataset.mapping.split(" ")[2]) - ${radius}) < 0.01`;

test("shows a drawing, its program and what it comes to", () =>
  withPage(CIRCLES, {}, async (page) => {
    assert.equal(await status(page), "value");
    assert.deepEqual(await shownHandles(page), ["E1", "E2", "E3", "E4"]);
    assert.equal(await page.locator("#lines li").count(), 5);
    assert.match(await page.textContent("#messages"), /^result: nil {3}\[\d+ steps\]\n/);
    assert.equal(await page.title(), "a.lsp");
  }));

test("is redrawn soon after each way of saving", () => {
  const circle = (radius) => `(COMMAND "CIRCLE" "0,0" ${radius})\n`;
  return withPage(circle(1), {}, async (page, watch) => {
    const file = watch.path("a.lsp");
    const pause = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));
    const ways = {
      write: (text) => writeFileSync(file, text),
      "rename over it": (text) => {
        writeFileSync(`${file}~`, text);
        renameSync(`${file}~`, file);
      },
      "truncate and write": async (text) => {
        truncateSync(file);
        await pause(5);
        writeFileSync(file, text);
      },
      "delete and create": async (text) => {
        rmSync(file);
        await pause(30);
        writeFileSync(file, text);
      },
    };
    let radius = 2;
    for (const [name, save] of Object.entries(ways)) {
      for (let n = 0; n < 3; ++n) {
        const time = await redrawTime(page, () => save(circle(radius)), radiusIs(radius));
        assert.ok(time <= REDRAWN_WITHIN, `${name}: ${time} ms`);
        assert.equal(await status(page), "value", name);
        ++radius;
      }
    }
  });
});

test("follows a library and a drawing", () =>
  withPage(';@ load lib.lsp\n;@ drawing sheet.json\n(COMMAND "CIRCLE" "0,0" (RADIUS))\n', {
    files: {"lib.lsp": "(DEFUN RADIUS () 2)", "sheet.json": '{"entities": []}'},
  }, async (page, watch) => {
    const library = await redrawTime(
      page, () => watch.save("lib.lsp", "(DEFUN RADIUS () 9)"), radiusIs(9));
    const entities = '{"entities": [{"type": "CIRCLE", "centre": [50, 0], "radius": 4}]}';
    const drawing = await redrawTime(page, () => watch.save("sheet.json", entities), radiusIs(4));
    assert.ok(library <= REDRAWN_WITHIN && drawing <= REDRAWN_WITHIN, `${library} ${drawing}`);
    assert.equal(await page.locator("#files button").count(), 2);
  }));

test("shows errors and warnings with the console's own texts", () => {
  const program = `(DEFUN HALF (X)
  (/ X COUTN))
(SETQ COUNT 2)
(COMMAND "CIRCLE" "0,0" -3)
(COMMAND "CIRCLE" "0,0" 5)
(HALF 8)
`;
  return withPage(program, {}, async (page, watch) => {
    await waitForStatus(page, "failed");
    const run = spawnSync(process.env.LISP_CONSOLE_PATH, ["--keep", "a.lsp"],
                          {cwd: watch.directory, encoding: "utf8"});
    const check = spawnSync(process.env.LISP_CONSOLE_PATH, ["check", "a.lsp"],
                            {cwd: watch.directory, encoding: "utf8"});
    const shown = await page.locator("#messages pre").allTextContents();
    assert.match(run.stdout, /expected .*\n.*try .*COUNT/);
    assert.ok(shown[0].startsWith(run.stdout), `${shown[0]}\n---\n${run.stdout}`);
    assert.match(check.stdout, /a\.lsp:2:8: error/);
    assert.ok(check.stdout.startsWith(shown.slice(1).join("")), check.stdout);
    assert.equal(await page.locator("#lines li.error").count(), 1);
    assert.deepEqual(await shownHandles(page), ["E1"]);  // As far as it came.
    // The call that was refused comes first, and then the error.
    for (const [place, line] of [["a.lsp:4:", 4], ["a.lsp:2:", 2]]) {
      await page.locator("#messages button", {hasText: place}).first().click();
      assert.deepEqual(await litLines(page), [line]);
    }
  });
});

test("lights the line and the pass of an entity, and the entities of a line", () =>
  withPage(CIRCLES, {}, async (page) => {
    await clickAt(page, 50, 0);  // On the second circle.
    assert.deepEqual(await litHandles(page), ["E2"]);
    assert.deepEqual(await litLines(page), [3]);
    assert.match(await page.textContent("#lines li.lit small"), /^time 2 round the loop in line 2$/);
    assert.match(await page.textContent("#picked"), /^E2 CIRCLE .*: line 3, time 2 round/);

    await page.locator("#lines li").nth(2).click();
    assert.deepEqual(await litHandles(page), ["E1", "E2", "E3"]);
    await page.locator("#lines li").nth(1).click();  // The loop itself.
    assert.deepEqual(await litHandles(page), ["E1", "E2", "E3"]);
    await page.locator("#lines li").nth(4).click();
    assert.deepEqual(await litHandles(page), ["E4"]);
    assert.deepEqual(await litLines(page), [5]);

    await clickAt(page, 40, 20);  // On nothing.
    assert.deepEqual(await litHandles(page), []);
  }));

test("lights a hatch anywhere inside of it, and what lies in it before", () => {
  const program = `(COMMAND "PLINE" "0,0" "100,0" "100,60" "0,60" "C" "CIRCLE" "30,30" 10)
(COMMAND "HATCH" "LINE" 12 45 "E1" "E2" "")
(COMMAND "PLINE" "120,0" "180,0" "180,60" "120,60" "C" "LINE" "120,30" "180,30" "")
(COMMAND "HATCH" "SOLID" "E4" "")
`;
  return withPage(program, {}, async (page) => {
    for (const [x, y] of [[60, 20], [61.7, 22.1], [63.3, 23.9], [80, 50]]) {
      await clickAt(page, x, y);
      assert.deepEqual(await litHandles(page), ["E3"], `${x}, ${y}`);
      assert.deepEqual(await litLines(page), [2]);
    }
    await clickAt(page, 30, 30);  // In the hole.
    assert.deepEqual(await litHandles(page), []);
    await clickAt(page, 40, 30);  // On the hole's edge.
    assert.deepEqual(await litHandles(page), ["E2"]);
    await clickAt(page, 150, 45);
    assert.deepEqual(await litHandles(page), ["E6"]);
    await clickAt(page, 150, 30);  // On the line below the filled area.
    assert.deepEqual(await litHandles(page), ["E5"]);
  });
});

test("leads from an entity through functions and libraries", () => {
  const files = {"lib.lsp": '(DEFUN HOLE (X)\n  (COMMAND "CIRCLE" (LIST X 0) 5))\n'};
  return withPage(";@ load lib.lsp\n(HOLE 0)\n(HOLE 30)\n", {files}, async (page) => {
    await clickAt(page, 35, 0);
    assert.equal(await page.textContent('#files [aria-pressed="true"]'), "lib.lsp");
    assert.deepEqual(await litLines(page), [2]);
    await page.locator("#files button").first().click();
    await page.locator("#lines li").nth(1).click();
    assert.deepEqual(await litHandles(page), ["E1"]);
    await page.locator("#lines li").nth(2).click();
    assert.deepEqual(await litHandles(page), ["E2"]);
  });
});

test("shows the drawing before and after", () => {
  const files = {"sheet.json": '{"entities": [{"type": "CIRCLE", "centre": [0, 0], "radius": 4}]}'};
  const program = ';@ drawing sheet.json\n(COMMAND "ERASE" "ALL" "")\n(COMMAND "POINT" "5,5")\n';
  return withPage(program, {files}, async (page) => {
    assert.deepEqual(await shownHandles(page), ["E2"]);
    await page.click("#side");
    assert.deepEqual(await shownHandles(page), ["E1"]);
    await page.focus("#drawing");
    await page.keyboard.press("b");
    assert.deepEqual(await shownHandles(page), ["E2"]);
  });
});

test("pans and zooms by mouse and keys, and keeps the view over a save", () =>
  withPage(CIRCLES, {}, async (page, watch) => {
    const box = () => page.evaluate(() => document.getElementById("sheet").shadowRoot
      .querySelector("svg").getAttribute("viewBox").split(" ").map(Number));
    const [x, , width] = await box();
    const still = await onScreen(page, 40, 0);
    await page.mouse.move(still.x, still.y);
    await page.mouse.wheel(0, -400);
    await waitFor(page, `document.getElementById("sheet").shadowRoot.querySelector("svg")
      .getAttribute("viewBox").split(" ")[2] < ${width / 2}`);
    const now = await onScreen(page, 40, 0);
    assert.ok(Math.hypot(now.x - still.x, now.y - still.y) < 1, "the point under the mouse stays");
    await page.mouse.down();
    await page.mouse.move(now.x + 60, now.y + 20, {steps: 4});
    await page.mouse.up();
    const moved = await onScreen(page, 40, 0);
    assert.ok(Math.abs(moved.x - now.x - 60) < 1 && Math.abs(moved.y - now.y - 20) < 1);
    const kept = await box();
    const number = await page.getAttribute("body", "data-state");
    watch.save("a.lsp", CIRCLES + "\n");
    await page.waitForSelector(`body:not([data-state="${number}"])`);
    assert.deepEqual(await box(), kept);
    await page.focus("#drawing");
    await page.keyboard.press("ArrowRight");
    assert.ok((await box())[0] > kept[0]);
    await page.keyboard.press("0");
    assert.deepEqual((await box()).slice(0, 3), [x, (await box())[1], width]);
    await page.keyboard.press("n");
    assert.deepEqual(await litHandles(page), ["E1"]);
  }));

test("takes points with snap, distances and selections", () => {
  const program = `(COMMAND "LINE" "0,0" "100,50" "")
(COMMAND "CIRCLE" "200,0" 30)
(SETQ P (GETPOINT "Where? "))
(SETQ D (GETDIST P "How far? "))
(SETQ S (SSGET))
(LIST P D (SSLENGTH S))
`;
  return withPage(program, {}, async (page) => {
    await waitForStatus(page, "asking");
    assert.equal(await page.textContent("#ask"), "Where? ");
    assert.equal(await page.textContent("#lines li.asks"), '(SETQ P (GETPOINT "Where? "))');
    await clickAt(page, 100, 50, 4);  // Near the end of the line.
    await waitFor(page, "document.getElementById('ask').textContent === 'How far? '");
    const centre = await onScreen(page, 200, 0);
    await page.mouse.move(centre.x + 3, centre.y - 3);
    await waitFor(page, `document.getElementById("sheet").shadowRoot
      .querySelector('[data-snap="cen"]')`);
    await page.fill("#answer", "nonsense here");
    await page.keyboard.press("Enter");
    await waitFor(page, "document.getElementById('help').textContent.includes('nonsense')");
    await page.mouse.click(centre.x + 3, centre.y - 3);
    await waitFor(page, "document.getElementById('ask').textContent.startsWith('Select')");
    await clickAt(page, 50, 25);
    await clickAt(page, 230, 0);
    assert.equal(await page.inputValue("#answer"), "E1 E2");
    await page.click("#question button");
    await waitForStatus(page, "value");
    assert.match(await page.textContent("#messages"),
                 /^result: \(\(100 50 0\) 111\.80339887498948 2\)/);
  });
});

test("gives a waiting program up when its file is saved", () =>
  withPage('(GETPOINT "One: ")', {}, async (page, watch) => {
    await waitForStatus(page, "asking");
    watch.save("a.lsp", '(GETPOINT "Two: ")');
    await waitFor(page, "document.getElementById('ask').textContent === 'Two: '");
    watch.save("a.lsp", "7");
    await waitForStatus(page, "value");
    assert.equal(await page.isVisible("#question"), false);
  }));

test("shows a program that runs into its limit, and goes on", () =>
  withPage("(WHILE T (SETQ X 1))", {}, async (page, watch) => {
    await waitForStatus(page, "failed");
    assert.match(await page.textContent("#messages"), /step limit/);
    watch.save("a.lsp", '(WHILE T (COMMAND "POINT" "1,1"))');
    await waitFor(page,
      "document.getElementById('messages').textContent.includes('more than 10000 host calls')",
      60000);
    watch.save("a.lsp", "(+ 1 2)");
    await waitForStatus(page, "value");
  }));

test("shows a file that vanishes, and its return", () =>
  withPage(CIRCLES, {}, async (page, watch) => {
    rmSync(watch.path("a.lsp"));
    await waitForStatus(page, "unreadable");
    assert.match(await page.textContent("#messages"), /a\.lsp: cannot be read: No such file/);
    assert.equal((await shownHandles(page)).length, 4);  // What was there before.
    watch.save("a.lsp", '(COMMAND "POINT" "1,1")');
    await waitForStatus(page, "value");
    assert.deepEqual(await shownHandles(page), ["E1"]);
  }));

test("runs nothing that texts and names of a program contain", () => {
  const hostile = [
    "<script>window.hit=1</script>", "</style><img src=x onerror=window.hit=2>",
    "]]></text><script>window.hit=3</script>", "javascript:window.hit=4", "${window.hit=5}",
    "&lt;b onclick=window.hit=6&gt;", "<svg/onload=window.hit=7>",
  ];
  const quoted = (text) => text.replaceAll("\\", "").replaceAll('"', "");
  const entities = hostile.map((text, n) =>
    `(ENTMAKE '((0 "TEXT") (8 "${quoted(text)}") (10 (0 ${n * 10})) (40 3) (1 "${quoted(text)}")))`);
  const program = `; ${hostile.join(" ")}\n${entities.join("\n")}\n(/ 1 0)`;
  return withPage(program, {name: "<img src=x onerror=alert(1)>.lsp"}, async (page) => {
    await waitForStatus(page, "failed");
    const handles = await shownHandles(page);
    assert.equal(handles.length, hostile.length);
    for (const handle of handles) {
      await page.focus("#drawing");
      await page.keyboard.press("n");
      assert.deepEqual(await litHandles(page), [handle]);
    }
    assert.equal(await page.locator("#lines li").first().textContent(), `; ${hostile.join(" ")}`);
    assert.equal(await page.evaluate(() => window.hit), undefined);
    assert.deepEqual(await page.evaluate(() => [
      document.querySelectorAll("script").length, document.querySelectorAll("img, iframe").length,
      document.getElementById("sheet").shadowRoot.querySelectorAll("script, image, a").length,
    ]), [1, 0, 0]);
  });
});

test("lets no script of another origin in", () =>
  withPage("1", {}, async (page) => {
    const refused = await page.evaluate(() => new Promise((resolve) => {
      document.addEventListener("securitypolicyviolation",
                                (event) => resolve(event.effectiveDirective));
      const script = document.createElement("script");
      script.textContent = "window.hit = 1";
      document.body.append(script);
    }));
    assert.equal(refused, "script-src-elem");
    assert.equal(await page.evaluate(() => window.hit), undefined);
    page.faults.length = 0;  // The browser tells of it.
  }));

test("shows the same on two pages, and one answer counts for both", () =>
  withPage('(LIST (GETPOINT "Where? "))', {}, async (page, watch) => {
    const other = await openPage(browser, watch);
    await waitForStatus(other, "asking");
    await page.fill("#answer", "1,2");
    await page.keyboard.press("Enter");
    for (const each of [page, other]) {
      await waitForStatus(each, "value");
      assert.match(await each.textContent("#messages"), /^result: \(\(1 2 0\)\)/);
    }
    await other.close();
  }));

test("ends within a second while pages are connected, and says so", async () => {
  const watch = await Watch.start(CIRCLES);
  const pages = [await openPage(browser, watch), await openPage(browser, watch)];
  const time = await watch.stop();
  assert.ok(time < 1000, `${time} ms`);
  for (const page of pages) {
    await page.waitForSelector("#status.lost");
    await page.close();
  }
});

test("leaks nothing over 1000 saves with two pages", async () => {
  const SAVES = 1000;
  const watch = await Watch.start("0");
  try {
    const pages = [await openPage(browser, watch), await openPage(browser, watch)];
    const heaps = async () => {
      const sizes = [];
      for (const page of pages) {
        const session = await page.context().newCDPSession(page);
        await session.send("HeapProfiler.collectGarbage");
        sizes.push((await session.send("Runtime.getHeapUsage")).usedSize);
        await session.detach();
      }
      return sizes;
    };
    const saveOnce = async (n) => {
      const number = await pages[0].getAttribute("body", "data-state");
      watch.save("a.lsp", `(COMMAND "CIRCLE" "0,0" ${1 + n % 7})\n(GETPOINT)\n; ${n}\n`);
      await pages[0].waitForSelector(`body:not([data-state="${number}"]) #status.asking`);
    };
    for (let n = 0; n < 100; ++n) await saveOnce(n);
    const early = {...watch.resources(), heaps: await heaps()};
    for (let n = 100; n < SAVES; ++n) await saveOnce(n);
    const late = {...watch.resources(), heaps: await heaps()};
    const told = JSON.stringify({early, late});
    console.log(told);
    assert.ok(late.descriptors <= early.descriptors + 2, told);
    assert.equal(late.threads, early.threads, told);
    assert.ok(late.memory < early.memory + 4096, told);
    late.heaps.forEach((size, n) => assert.ok(size < early.heaps[n] + 2e6, told));
    for (const page of pages) assert.deepEqual(page.faults, []);
    await waitFor(pages[1],
      `document.getElementById("lines").textContent.includes("; ${SAVES - 1}")`);
  } finally {
    await watch.stop();
  }
});
