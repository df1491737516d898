// Draws the page's charts, and draws them again when the reader changes between light and dark.
import embed from "vega-embed";

import { drawings } from "./drawings.js";
import { config, palettes } from "./theme.js";

// The page has all that is drawn; there is nothing to be loaded from anywhere.
const loader = {
  load: () => Promise.reject(new Error("nothing is loaded")),
  sanitize: () => Promise.reject(new Error("nothing is linked to")),
};

const options = {
  actions: false,
  ast: true, // so that expressions need no eval, which the page's policy forbids
  defaultStyle: false,
  loader,
  renderer: "svg",
  tooltip: { disableDefaultStyle: true },
};

const charts = JSON.parse(document.getElementById("data").textContent);
let drawn = [];

async function draw(place, chart) {
  const built = drawings[chart.kind](chart, palettes(), place.clientWidth);
  const list = Array.isArray(built) ? built : [built];
  for (const spec of list) {
    const view = place.appendChild(document.createElement("div"));
    const description = spec.title ? `${chart.title}: ${spec.title}` : chart.title;
    const whole = { ...spec, description, autosize: { type: "fit-x", contains: "padding" } };
    drawn.push(await embed(view, whole, { ...options, config: config() }));
  }
}

async function drawAll() {
  for (const view of drawn) view.finalize();
  drawn = [];
  for (const place of document.querySelectorAll("[data-chart]")) {
    const chart = charts[place.dataset.chart];
    place.replaceChildren();
    place.classList.toggle("multiple", chart.kind === "multiples");
    await draw(place, chart);
  }
  document.documentElement.dataset.drawn = String(drawn.length);
}

// One after the other, so that two changes in a row do not mix.
let last = drawAll();
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
  last = last.then(drawAll);
});
