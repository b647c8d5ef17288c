// node build.mjs OUT.html: the plainest page that holds a run.
import { copyFileSync } from "node:fs";

copyFileSync(new URL("src/page.html", import.meta.url), process.argv[2]);
