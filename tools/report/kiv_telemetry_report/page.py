"""The page: one file that needs no other, and that cannot load or send anything."""

import base64
import hashlib
import json
import math

from . import charts, texts, views
from .facts import for_script
from .markup import document, element


def fingerprint(text):
    digest = hashlib.sha256(text.encode()).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def policy(style, script):
    """A policy that allows the page's own style and script, and nothing else: nothing from elsewhere,
    and nothing in a reported text."""
    script_source = fingerprint(script) if script else "'none'"
    return (f"default-src 'none'; style-src {fingerprint(style)}; script-src {script_source}; "
            "base-uri 'none'; form-action 'none'")


def as_json(data):
    """JSON for a script element; no text in it can end the element."""
    text = json.dumps(finite(data), separators=(",", ":"), allow_nan=False)
    return text.replace("<", "\\u003c")


def finite(data):
    if isinstance(data, dict):
        return {name: finite(value) for name, value in data.items()}
    if isinstance(data, list):
        return [finite(value) for value in data]
    return None if isinstance(data, float) and not math.isfinite(data) else data


def span_of(summary):
    if summary.span.start.value is None:
        return "No events."
    start, end = summary.span.start.value, summary.span.end.value
    return f"{texts.time(start)} to {texts.time(end)} UTC ({texts.duration(max(0, end - start))})"


def header(title, summary, sources):
    files = ", ".join(texts.display(source.name) for source in sources[:3])
    if len(sources) > 3:
        files += f" and {len(sources) - 3:,} more"
    return element("header", element("h1", title),
                   element("p", span_of(summary), class_="span"),
                   element("p", files, class_="files"))


def tile(shown):
    tone = shown.tone if shown.value else ""
    number = f"{shown.value:,}"
    return element("div", element("dt", shown.label), element("dd", number, class_=size_of(number)),
                   element("dd", shown.hint, class_="hint"), class_=f"tile {tone}".strip(),
                   data_tile=shown.name, data_tone=shown.tone)


def size_of(number):
    """A class for the size of a tile's number: long ones have to fit a narrow screen, too."""
    return "longest" if len(number) > 19 else "long" if len(number) > 13 else "value"


def class_of(column):
    return "number" if column.to_the_right else "time" if column.form is texts.time else None


def header_attributes(column):
    """What the script needs to make cells of the column."""
    form = {"data_form": "severity"} if column.form is texts.severity else {}
    return form | ({"class_": class_of(column)} if class_of(column) else {})


def cell(column, value):
    text = column.form(value)
    if column.form is texts.severity:
        badge = element("span", text, class_=f"badge {text.lower().split()[0]}")
        return element("td", badge)
    return element("td", element("bdi", text),
                   **({"class_": class_of(column)} if class_of(column) else {}))


def table(shown, caption):
    titles = [element("th", column.title, scope="col", **header_attributes(column))
              for column in shown.columns]
    rows = [element("tr", *map(cell, shown.columns, row)) for row in shown.rows]
    made = element("table", element("caption", caption), element("thead", element("tr", *titles)),
                   element("tbody", *rows))
    scroller = element("div", made, class_="scroller", tabindex="0", role="region",
                       aria_label=caption)
    return [scroller, element("p", shown.rest, class_="note rest")]


def chart(shown, with_charts):
    """A figure with a table and, if there is a script, the place of a chart above it."""
    made = element("figure", element("figcaption", shown.title), id=shown.name,
                   **({"class_": "wide"} if shown.wide else {}))
    if shown.note:
        made.append(element("p", shown.note, class_="note"))
    if not shown.drawn or not with_charts:
        made.extend(table(shown.table, shown.title))
        return made
    made.append(element("div", class_="chart", data_chart=shown.name))
    summary = element("summary", f"Table: {texts.plural(len(shown.table.rows), 'row')}")
    made.append(element("details", summary, *table(shown.table, shown.title),
                        **({"open": "open"} if shown.open else {})))
    return made


def section(shown, with_charts):
    return element("section", element("h2", shown.title),
                   element("div", *(chart(c, with_charts) for c in shown.charts), class_="charts"),
                   id=f"section-{shown.name}")


def navigation(sections):
    links = [element("a", shown.title, href=f"#section-{shown.name}") for shown in sections]
    return element("nav", *links, aria_label="Sections")


def data_of(summary, sources):
    """The data that the script draws and filters."""
    if summary.span.end.value is None:
        return {"files": [], "sessions": [], "kinds": {}}
    return {"files": texts.short_names([source.name for source in sources]),
            "width": summary.bin_width, "domain": charts.time_domain(summary),
            **for_script(summary.facts, summary.bin_width, summary.sessions)}


def page(title, summary, sources, style, script):
    """`script` draws the charts and filters; without it the page has tables only."""
    with_charts = bool(script)
    sections = views.sections(summary, sources)
    tiles = [tile(shown) for shown in views.tiles(summary, sources)]
    body = element("body", header(title, summary, sources), navigation(sections),
                   element("dl", *tiles, class_="tiles"),
                   element("main", *(section(shown, with_charts) for shown in sections)))
    if with_charts:
        body.insert(1, element("noscript", element(
            "p", "Charts and filters need scripts. The tables have the same numbers.",
            class_="note")))
        body.append(element("script", as_json(data_of(summary, sources)), type="application/json",
                            id="data"))
        body.append(element("script", script))
    head = element(
        "head", element("meta", charset="utf-8"),
        element("meta", http_equiv="Content-Security-Policy", content=policy(style, script)),
        element("meta", name="viewport", content="width=device-width, initial-scale=1"),
        element("meta", name="color-scheme", content="light dark"),
        element("title", title), element("style", style))
    return document(element("html", head, body, lang="en"))
