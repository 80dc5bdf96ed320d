// Makes the pictures of the page that docs/TUTORIAL.md shows, in the directory of the argument.

import {mkdirSync} from "node:fs";
import {join} from "node:path";
import {Watch, clickAt, onScreen, openBrowser, openPage, waitForStatus} from "./watch.js";

const directory = process.argv[2];
const FLANGE = `; A flange: a ring with a circle of holes.
(SETQ CENTRE '(100 100 0) COUNT 8)
(COMMAND "CIRCLE" CENTRE 60)
(COMMAND "CIRCLE" CENTRE 25)
(SETQ N 0)
(WHILE (< N COUNT)
  (ENTMAKE (LIST '(0 "CIRCLE") '(8 "HOLES")
                 (LIST 10 (POLAR CENTRE
                           (* N (/ 6.283185307179586 COUNT))
                           43))
                 '(40 6)))
  (SETQ N (1+ N)))
`;
const WRONG = FLANGE.replace("586 COUNT", "586 CUONT");
const PICK = `(COMMAND "PLINE" "0,0" "120,0" "120,60" "0,60" "C")
(SETQ P (GETPOINT "First corner: "))
(SETQ Q (GETCORNER P "Other corner: "))
(COMMAND "LINE" P Q "")
`;

mkdirSync(directory, {recursive: true});
const browser = await openBrowser();

async function picture(name, program, status, prepare) {
  const watch = await Watch.start(program, {name: "flange.lsp"});
  const page = await openPage(browser, watch, {viewport: {width: 960, height: 540}});
  await waitForStatus(page, status);
  await prepare(page);
  await page.screenshot({path: join(directory, name)});
  await page.close();
  await watch.stop();
}

await picture("watch.png", FLANGE, "value", (page) => clickAt(page, 100, 149));
await picture("watch_error.png", WRONG, "failed", async () => {});
await picture("watch_pick.png", PICK, "asking", async (page) => {
  await clickAt(page, 0, 60, 3);
  await page.waitForSelector("#ask:text('Other corner')");
  const at = await onScreen(page, 60, 0);
  await page.mouse.move(at.x + 2, at.y - 3);
});
await browser.close();
