// Colours of the charts, from the page's style for light or dark.

function colour(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
}

const SEVERITIES = { FATAL: "fatal", ERROR: "error", WARNING: "warning", INFO: "info" };
const CATEGORIES = 8;

export function palettes() {
  const categories = Array.from({ length: CATEGORIES }, (_, i) => colour(`category-${i + 1}`));
  const rest = colour("rest");
  return {
    accent: categories[0],
    rest,
    error: colour("error"),
    severity: (parts) => parts.map((part) => colour(SEVERITIES[part] ?? "rest")),
    // The part for all others is grey. So are parts beyond the number of colours.
    category: (parts, others) =>
      parts.map((part, i) => (part === others ? rest : (categories[i] ?? rest))),
  };
}

export function config() {
  const text = colour("text");
  const muted = colour("muted");
  const line = colour("line");
  return {
    background: "transparent",
    font: getComputedStyle(document.body).fontFamily,
    view: { stroke: null },
    axis: {
      labelColor: muted, titleColor: muted, gridColor: line, domainColor: line, tickColor: line,
      labelFontSize: 12, titleFontSize: 12, titleFontWeight: "normal", titlePadding: 8,
    },
    legend: {
      labelColor: text, titleColor: muted, labelFontSize: 12, titleFontWeight: "normal",
      orient: "top", labelLimit: 220, symbolType: "square",
    },
    title: { color: text, fontSize: 13, fontWeight: "normal", anchor: "start", limit: 320 },
    text: { color: muted },
  };
}
