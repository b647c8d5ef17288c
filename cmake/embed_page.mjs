// node embed_page.mjs PAGE.html OUT.cpp: writes the source that defines what
// kandrel-post/pictures/page_template.h declares. Texts are cut into pieces that every compiler
// takes, never inside the place where a run goes, and are pure ASCII.
import { readFileSync, writeFileSync } from "node:fs";

const place = "<!--KANDREL-RUN-->";
const mostBytes = 30000;

const [, , from, to] = process.argv;
const page = readFileSync(from);
const at = page.indexOf(place);
if (at < 0 || page.indexOf(place, at + 1) >= 0) {
  console.error(`${from}: ${place} must stand there once`);
  process.exit(1);
}

const pieces = [];
const cut = (begin, end) => {
  for (let i = begin; i < end; i += mostBytes) pieces.push(page.subarray(i, Math.min(i + mostBytes, end)));
};
cut(0, at);
cut(at, at + place.length);
cut(at + place.length, page.length);

// With its length: to count a long text is more than a compiler does for a constant.
// Octal escapes end after three digits, so that a digit may follow; ?? could begin a trigraph.
const literal = (bytes) => {
  let text = "";
  for (const byte of bytes) {
    if (byte === 10) text += '\\n"\n    "';
    else if (byte < 32 || byte > 126 || byte === 34 || byte === 92 || byte === 63)
      text += `\\${byte.toString(8).padStart(3, "0")}`;
    else text += String.fromCharCode(byte);
  }
  return `    std::string_view("${text}", ${bytes.length})`;
};

writeFileSync(to, `// Written by cmake/embed_page.mjs; what it is made from is what to change.
#include "kandrel-post/pictures/page_template.h"

#include <array>

namespace kandrel_post {

namespace {

constexpr std::array<std::string_view, ${pieces.length}> kPieces{
${pieces.map(literal).join(",\n")}};

}  // namespace

std::span<const std::string_view> PageTemplate() {
  return kPieces;
}

std::string_view PageLeftOut() {
  return {};
}

}  // namespace kandrel_post
`);
