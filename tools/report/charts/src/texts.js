// Formats of values, as texts.py has them. What the two write is compared by a test.

const LONGEST_TEXT = 300;
const LARGE = 1_000_000; // beyond it numbers have no fraction
const NOTHING = "–";
const SEVERITIES = ["INFO", "WARNING", "ERROR", "FATAL"];
const INVISIBLE = /[\p{C}\p{Zl}\p{Zp}\p{Zs}]/gu;

function escape(character) {
  if (character === " ") return character;
  const named = { "\t": "\\t", "\n": "\\n", "\r": "\\r" }[character];
  if (named) return named;
  const hex = character.codePointAt(0).toString(16);
  if (hex.length <= 2) return `\\x${hex.padStart(2, "0")}`;
  return hex.length <= 4 ? `\\u${hex.padStart(4, "0")}` : `\\U${hex.padStart(8, "0")}`;
}

export function display(text) {
  const characters = [...text];
  const cut = characters.length > LONGEST_TEXT
    ? `${characters.slice(0, LONGEST_TEXT - 1).join("")}…` : text;
  return cut.replace(INVISIBLE, escape) || "(empty)";
}

export const severity = (number) => SEVERITIES[number] ?? `severity ${number}`;
export const count = (number) => number.toLocaleString("en");
export const plural = (number, noun) => `${count(number)} ${noun}${number === 1 ? "" : "s"}`;
export const yesOrNo = (value) => (value ? "yes" : "no");

// The same operations as in texts.py, so that both round alike.
const tenths = (value) => (Math.floor(value * 10 + 0.5) / 10).toLocaleString(
  "en", { minimumFractionDigits: 1, maximumFractionDigits: 1 });
const significant = (value, digits) => Number(value.toPrecision(digits)).toLocaleString(
  "en", { maximumSignificantDigits: digits });

export const share = (value) => (value === null ? NOTHING : `${tenths(100 * value)} %`);
export const streamType = (text) => display(text.replace(/^KIV_STREAM_TYPE_/, ""));
export const pcmFormat = (text) =>
  (text ? display(text.replace(/^AUDIO_FORMAT_/, "")) : "(unknown)");

export function number(value) {
  if (value === null) return NOTHING;
  if (Number.isInteger(value)) return count(value);
  return Math.abs(value) < LARGE ? significant(value, 6)
    : value.toLocaleString("en", { maximumFractionDigits: 0 });
}

export const microseconds = (value) => (value === null ? NOTHING : tenths(value));

export function duration(milliseconds) {
  if (milliseconds < 999.5) return `${significant(milliseconds, 3)} ms`;
  if (milliseconds < 59_950) return `${significant(milliseconds / 1000, 3)} s`;
  const seconds = Math.round(milliseconds / 1000);
  const units = [[Math.floor(seconds / 86400), "d"], [Math.floor(seconds / 3600) % 24, "h"],
                 [Math.floor(seconds / 60) % 60, "min"], [seconds % 60, "s"]];
  return units.slice(units.findIndex(([amount]) => amount)).slice(0, 2)
    .filter(([amount]) => amount).map(([amount, unit]) => `${count(amount)} ${unit}`).join(" ");
}

export const time = (milliseconds) =>
  new Date(1000 * Math.floor(milliseconds / 1000)).toISOString().slice(0, 19).replace("T", " ");
