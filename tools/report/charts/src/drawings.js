// The kinds of charts, in Vega-Lite. Reported texts are values of a chart's data only, never part of
// its definition.

// `room` is the available width, in pixels.

import { count, plural, share } from "./texts.js";

const STEP = 26;
const LEGEND_ENTRY = 130;
const LEGEND_SYMBOL = 40; // with the space around it
const NAMES = 0.4; // share of the available width
const NUMBERS = 70; // pixels
const DIGIT = 7; // pixels
const CALLS = 100;
const RATES = 150;
const TIME_HEIGHT = 200;
const MULTIPLE_HEIGHT = 110;

// By an expression, since a format alone would write 0k beside thousands, and 150m for 0.15.
const SHORT = "format(datum.value, abs(datum.value) < 1000 ? '.4~g' : '.4~s')";
const counts = { type: "quantitative", axis: { labelExpr: SHORT, tickMinStep: 1, tickCount: 5 } };
const whole = (field, title) => ({ field, title, type: "quantitative", format: "," });

const partTitle = (chart) => chart.partTitle ?? "Kind";

// `room` is the width beside the axis; the legend is above it.
function legend(room) {
  const columns = Math.max(1, Math.floor(room / LEGEND_ENTRY));
  return { columns, labelLimit: room / columns - LEGEND_SYMBOL };
}

function colours(chart, palette, room) {
  const range = palette[chart.palette ?? "category"](chart.parts, chart.others);
  return {
    field: "part", type: "nominal", title: null,
    scale: { domain: chart.parts, range },
    legend: legend(room),
  };
}

const names = (field, room) => ({
  field, type: "nominal", sort: null, title: null,
  axis: { labelLimit: NAMES * room, labelPadding: 6, ticks: false, domain: false },
});

function longest(chart) {
  const totals = new Map();
  for (const { bar, reports } of chart.rows) totals.set(bar, (totals.get(bar) ?? 0) + reports);
  return Math.max(1, ...totals.values());
}

function bars(chart, palette, room) {
  const divided = chart.parts.length > 0;
  const title = chart.axis ?? "Reports";
  const tooltip = [
    { field: "bar", title: "Name" },
    ...(divided ? [{ field: "part", title: partTitle(chart) }] : []),
    whole("reports", title),
    ...(chart.rows.some((row) => "events" in row) ? [whole("events", "Events")] : []),
  ];
  // Leaves space for the number of the longest bar.
  const number = Math.max(NUMBERS, 20 + DIGIT * count(longest(chart)).length);
  const end = longest(chart) / (1 - Math.min(0.6, number / ((1 - NAMES) * room)));
  const totals = {
    transform: [{ aggregate: [{ op: "sum", field: "reports", as: "total" }], groupby: ["bar"] }],
    mark: { type: "text", align: "left", dx: 5 },
    encoding: {
      y: names("bar", room),
      x: { field: "total", type: "quantitative" },
      text: { field: "total", format: "," },
    },
  };
  const divisions = divided && {
    color: colours(chart, palette, (1 - NAMES) * room),
    order: { field: "rank" },
  };
  const parts = {
    mark: { type: "bar", height: { band: 0.68 }, ...(divided ? {} : { color: palette.accent }) },
    encoding: {
      y: names("bar", room),
      x: { field: "reports", title, ...counts, scale: { domain: [0, end], nice: false } },
      ...divisions,
      tooltip,
    },
  };
  const rank = new Map(chart.parts.map((part, i) => [part, i]));
  const values = chart.rows.map((row) => ({ ...row, rank: rank.get(row.part) ?? 0 }));
  return {
    data: { values },
    width: "container",
    height: STEP * chart.bars.length,
    layer: [parts, totals],
  };
}

const HOUR = 3600 * 1000;

function timeFormat([start, end]) {
  if (end - start <= HOUR) return "%H:%M:%S";
  return end - start <= 36 * HOUR ? "%H:%M" : "%Y-%m-%d";
}

const time = (chart) => ({
  type: "temporal", title: "Time (UTC)", scale: { type: "utc", nice: false },
  axis: { grid: false, labelOverlap: true, tickCount: 8, format: timeFormat(chart.domain) },
});

// All charts over time cover the same time. Invisible points stretch them to it, because Vega's
// interpreter does not support the function that a domain of the scale would need.
const wholeTime = (chart) => ({
  data: { values: chart.domain.map((moment) => ({ moment })) },
  mark: { type: "point", opacity: 0, tooltip: false, aria: false },
  encoding: { x: { field: "moment", ...time(chart) } },
});
const times = [
  { field: "start", type: "temporal", title: "From (UTC)", format: "%Y-%m-%d %H:%M:%S",
    scale: { type: "utc" } },
  { field: "end", type: "temporal", title: "To (UTC)", format: "%Y-%m-%d %H:%M:%S",
    scale: { type: "utc" } },
];

// Divided bars over time. They are stacked here, because Vega-Lite does not stack bars that have a
// start and an end on the other axis.
function timeline(chart, palette, room) {
  const rank = new Map(chart.parts.map((part, i) => [part, i]));
  const heights = new Map();
  const values = [...chart.rows]
    .sort((a, b) => a.start - b.start || rank.get(a.part) - rank.get(b.part))
    .map((row) => {
      const low = heights.get(row.start) ?? 0;
      heights.set(row.start, low + row.value);
      return { ...row, low, high: low + row.value };
    });
  const parts = {
    data: { values },
    mark: { type: "bar", xOffset: 0.5, x2Offset: -0.5 },
    encoding: {
      x: { field: "start", ...time(chart) },
      x2: { field: "end" },
      y: { field: "low", title: "Reports", ...counts },
      y2: { field: "high" },
      color: colours(chart, palette, room - NUMBERS),
      tooltip: [...times, { field: "part", title: partTitle(chart) }, whole("value", "Reports")],
    },
  };
  return { width: "container", height: TIME_HEIGHT, layer: [wholeTime(chart), parts] };
}

// A logarithmic axis from 0 over 1 and 10 to the first power of ten that is not below any value.
function logarithmic(values) {
  const greatest = Math.max(...values);
  const powers = [0, 1, 10];
  while (powers.at(-1) < greatest) powers.push(powers.at(-1) * 10);
  return {
    scale: { type: "symlog", domain: [0, powers.at(-1)], nice: false },
    axis: { labelExpr: SHORT, values: powers },
  };
}

function latencies(chart, palette, room) {
  const { scale, axis } = logarithmic(chart.rows.map((row) => row.highest));
  const share = Math.min(0.5, CALLS / ((1 - NAMES) * room));
  const domain = [0, scale.domain[1] ** (1 / (1 - share))];
  const x = (field) => ({
    field, type: "quantitative", title: "Latency (µs, logarithmic)",
    scale: { ...scale, domain }, axis,
  });
  const tooltip = [
    { field: "api", title: "API" },
    whole("calls", "Calls"),
    { field: "mean", type: "quantitative", title: "Mean (µs)", format: ",.1f" },
    whole("lowest", "Lowest window (µs)"),
    whole("highest", "Highest window (µs)"),
  ];
  const called = (row) => plural(row.calls, "call");
  return {
    data: { values: chart.rows.map((row) => ({ ...row, called: called(row) })) },
    width: "container",
    height: STEP * chart.rows.length,
    encoding: { y: names("api", room), tooltip },
    layer: [
      {
        mark: { type: "rule", strokeWidth: 3, opacity: 0.45, color: palette.accent },
        encoding: { x: x("lowest"), x2: { field: "highest" } },
      },
      {
        mark: { type: "circle", size: 90, opacity: 1, color: palette.accent },
        encoding: { x: x("mean") },
      },
      {
        mark: { type: "text", align: "left", dx: 9 },
        encoding: { x: x("highest"), text: { field: "called" } },
      },
    ],
  };
}

// The share of failed calls of each API.
function rates(chart, palette, room) {
  // Narrow charts have the numbers of calls in their tooltips only.
  const narrow = (1 - NAMES) * room < 2 * RATES;
  const space = Math.min(0.6, (narrow ? NUMBERS : RATES) / ((1 - NAMES) * room));
  const called = ({ rate, failed, calls }) =>
    share(rate) + (narrow ? "" : ` (${count(failed)} of ${count(calls)})`);
  const values = chart.rows.map((row) => ({ ...row, called: called(row) }));
  const x = { field: "rate", type: "quantitative", title: "Failure rate",
              scale: { domain: [0, 1 / (1 - space)], nice: false },
              axis: { format: "%", values: [0, 0.25, 0.5, 0.75, 1] } };
  return {
    data: { values },
    width: "container",
    height: STEP * values.length,
    encoding: { y: names("api", room), x },
    layer: [
      {
        mark: { type: "bar", height: { band: 0.68 }, color: palette.error },
        encoding: { tooltip: [{ field: "api", title: "API" }, whole("calls", "Calls"),
                              whole("failed", "Failed")] },
      },
      { mark: { type: "text", align: "left", dx: 5 }, encoding: { text: { field: "called" } } },
    ],
  };
}

function course(chart, rows, y, colour) {
  // Each value is drawn in the middle of its bin.
  const values = rows.map((row) => ({ ...row, middle: (row.start + row.end) / 2 }));
  const value = { field: "value", type: "quantitative", title: y.title ?? "Value",
                  format: chart.share ? ".1%" : ",.5~g" };
  const drawn = {
    data: { values },
    encoding: {
      x: { field: "middle", ...time(chart) },
      y: { field: "value", type: "quantitative", axis: { tickCount: 4, labelExpr: SHORT }, ...y },
      ...colour.encoding,
      tooltip: [...times, { field: "part", title: "Name" }, value],
    },
    layer: [
      { mark: { type: "line", strokeWidth: 2, ...colour.mark } },
      { mark: { type: "circle", size: 30, opacity: 1, ...colour.mark } },
    ],
  };
  return { width: "container", layer: [wholeTime(chart), drawn] };
}

function lines(chart, palette, room) {
  const colour = { encoding: { color: colours(chart, palette, room - NUMBERS) } };
  const y = { title: chart.axis, ...(chart.share
    ? { scale: { domain: [0, 1] }, axis: { format: "%", tickCount: 4 } }
    : logarithmic(chart.rows.map((row) => row.value))) };
  return { height: TIME_HEIGHT, ...course(chart, chart.rows, y, colour) };
}

// One small chart for each part, because their units differ.
function multiples(chart, palette, room) {
  const y = { title: null, scale: { zero: false } };
  return chart.parts.map((part) => ({
    title: { text: part, limit: Math.min(320, room) },
    height: MULTIPLE_HEIGHT,
    ...course(chart, chart.rows.filter((row) => row.part === part), y,
              { mark: { color: palette.accent } }),
  }));
}

export const drawings = { bars, timeline, latencies, rates, lines, multiples };
