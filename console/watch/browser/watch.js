// A console that watches a file, and a browser: shared by the tests and the pictures of the page.

import {spawn} from "node:child_process";
import {mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {chromium} from "playwright-core";

const ARGUMENTS = ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--disable-background-networking", "--disable-component-update",
                   "--disable-sync"];

// A fresh profile each time: launch() makes one and removes it.
export const openBrowser = () => chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", headless: true, args: ARGUMENTS});

// `lisp_console watch` on a file of a directory of its own.
export class Watch {
  static async start(program, {name = "a.lsp", files = {}, options = []} = {}) {
    const watch = new Watch();
    watch.directory = mkdtempSync(join(tmpdir(), "lisp_watch."));
    for (const [other, text] of Object.entries(files)) watch.save(other, text);
    watch.name = name;
    watch.save(name, program);
    watch.process = spawn(process.env.LISP_CONSOLE_PATH, ["watch", ...options, name],
                          {cwd: watch.directory, stdio: ["ignore", "pipe", "inherit"]});
    watch.ended = new Promise((resolve) => watch.process.on("exit", resolve));
    const line = await new Promise((resolve) => watch.process.stdout.once("data", resolve));
    watch.address = /http:\S+/.exec(String(line))[0];
    return watch;
  }

  path(name) { return join(this.directory, name); }
  save(name, text) { writeFileSync(this.path(name), text); }

  // Descriptors, threads and resident KiB of the console.
  resources() {
    const proc = `/proc/${this.process.pid}`;
    const number = (name) =>
      Number(new RegExp(`${name}:\\s+(\\d+)`).exec(readFileSync(`${proc}/status`, "utf8"))[1]);
    return {descriptors: readdirSync(`${proc}/fd`).length, threads: number("Threads"),
            memory: number("VmRSS")};
  }

  // Ends it as Ctrl-C does. Returns how many milliseconds it has taken.
  async stop() {
    const begin = performance.now();
    this.process.kill("SIGINT");
    const code = await this.ended;
    rmSync(this.directory, {recursive: true});
    if (code !== 0) throw new Error(`lisp_console ended with ${code}`);
    return performance.now() - begin;
  }
}

// A page of a watch, once it shows a state.
export async function openPage(browser, watch, settings = {}) {
  const page = await browser.newPage(settings);
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(String(error)));
  page.on("console", (message) => {
    if (message.type() === "error") page.faults.push(message.text());
  });
  page.on("dialog", (dialog) => {
    page.faults.push(`dialog: ${dialog.message()}`);
    dialog.dismiss();
  });
  await page.goto(watch.address);
  await page.waitForSelector("body[data-state]");
  return page;
}

// Where the drawing's point is on the screen.
export const onScreen = (page, x, y) => page.evaluate(([x, y]) => {
  const svg = document.getElementById("sheet").shadowRoot.querySelector("svg");
  const group = svg.querySelector("g[data-panel]");
  const [left, top, scale] = group.dataset.mapping.split(" ").map(Number);
  const at = new DOMPoint(left + x * scale, top - y * scale).matrixTransform(svg.getScreenCTM());
  return {x: at.x, y: at.y};
}, [x, y]);

export const clickAt = async (page, x, y, offset = 0) => {
  const at = await onScreen(page, x, y);
  await page.mouse.move(at.x + offset, at.y + offset);
  await page.mouse.click(at.x + offset, at.y + offset);
};

// The handles of the entities that are shown, and of those that are lit.
export const shownHandles = (page) => handles(page, "[data-handle]");
export const litHandles = (page) => handles(page, ".lit[data-handle]");
const handles = (page, selector) => page.evaluate((selector) =>
  [...document.getElementById("sheet").shadowRoot.querySelectorAll(selector)]
    .map((element) => element.dataset.handle), selector);

export const litLines = (page) => page.evaluate(() =>
  [...document.querySelectorAll("#lines li.lit")].map((item) => Number(item.dataset.line)));

export const status = (page) => page.getAttribute("#status", "class");
export const waitForStatus = (page, name) =>
  page.waitForSelector(`#status.${name}`, {timeout: 10000});

// Waits until the expression is true in the page. The page's policy forbids the browser library's
// own way of waiting, which evaluates texts in the page.
export async function waitFor(page, expression, milliseconds = 10000) {
  for (const end = performance.now() + milliseconds; !(await page.evaluate(expression));) {
    if (performance.now() > end) throw new Error(`never true: ${expression}`);
    await new Promise((resolve) => setTimeout(resolve, 4));
  }
}
