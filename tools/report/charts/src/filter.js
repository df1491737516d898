// The form that selects which reports the page shows.
import { root } from "./facts.js";
import * as texts from "./texts.js";

const MOST_SESSIONS = 200;

function option(value, text) {
  const made = document.createElement("option");
  made.value = value;
  made.textContent = text;
  return made;
}

function control(name, title, options) {
  const label = document.createElement("label");
  const made = document.createElement("select");
  made.name = name;
  made.append(...options);
  label.append(title, made);
  return label;
}

// Sessions with the most reports first, each below its root.
function sessionOptions(facts) {
  const reports = new Map();
  for (const { session, reports: number } of facts.cells) {
    const name = facts.sessions[session];
    for (const each of new Set([name, root(name)])) {
      reports.set(each, (reports.get(each) ?? 0) + number);
    }
  }
  const names = [...reports].sort((a, b) => b[1] - a[1]).map(([name]) => name);
  const roots = names.filter((name) => root(name) === name);
  const listed = roots.flatMap((each) => [
    each, ...names.filter((name) => root(name) === each && name !== each)]);
  const made = listed.slice(0, MOST_SESSIONS).map((name) => option(
    name, `${root(name) === name ? "" : "– "}${texts.display(name.split(".").at(-1)).slice(0, 8)}` +
          ` (${texts.plural(reports.get(name), "report")})`));
  return [option("", "all"), ...made];
}

function controls(facts) {
  const bins = [...new Set(facts.cells.map((cell) => cell.bin))].sort((a, b) => a - b);
  const classes = [...new Set(facts.cells.filter((cell) => cell.kind === "error")
    .map((cell) => cell.class))].sort();
  const made = [
    control("file", "File", [option("", "all"),
                             ...facts.files.map((name, i) => option(i, texts.display(name)))]),
    control("class", "Class (of errors)", [
      option("", "all"), ...classes.filter(Boolean).map((name) => option(name,
                                                                         texts.display(name)))]),
    control("from", "From (UTC)", [option("", "first"),
                                   ...bins.map((bin) => option(bin, texts.time(bin)))]),
    control("to", "To (UTC)", [option("", "last"), ...bins.map((bin) =>
      option(bin + facts.width, texts.time(bin + facts.width)))]),
    control("divide", "Divide charts by", [option("", "kind"), option("file", "file")]),
  ];
  if (facts.sessions) made.splice(2, 0, control("session", "Session", sessionOptions(facts)));
  return made;
}

// Puts the form below the page's navigation. `changed` is called with the filter after each change.
export function makeFilter(facts, changed) {
  const form = document.createElement("form");
  form.className = "filter";
  form.setAttribute("aria-label", "Filter");
  form.append(...controls(facts));
  const all = document.createElement("button");
  all.type = "reset";
  all.textContent = "Show all";
  form.append(all);
  const read = () => changed({ file: "", class: "", session: "", from: "", to: "", divide: "",
                               ...Object.fromEntries(new FormData(form)) });
  form.addEventListener("change", read);
  form.addEventListener("submit", (event) => event.preventDefault());
  // The controls are reset after the event.
  form.addEventListener("reset", () => setTimeout(read));
  document.querySelector("nav").after(form);
}
