"""The page: one file that needs nothing else, and that can reach nothing else."""

import base64
import hashlib
import json
import math

from . import texts, views
from .markup import document, element


def fingerprint(text):
    digest = hashlib.sha256(text.encode()).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def policy(style, script):
    """Only the style and the script that belong to the page; nothing from elsewhere, and nothing
    that somebody reported."""
    script_source = fingerprint(script) if script else "'none'"
    return (f"default-src 'none'; style-src {fingerprint(style)}; script-src {script_source}; "
            "base-uri 'none'; form-action 'none'")


def as_json(data):
    """For a script element, which the text must not be able to end."""
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
    made = element("div", element("dt", shown.label), element("dd", f"{shown.value:,}"),
                   class_=f"tile {tone}".strip())
    if shown.hint:
        made.append(element("dd", shown.hint, class_="hint"))
    return made


def cell(column, value):
    text = column.form(value)
    if column.form is texts.severity:
        badge = element("span", text, class_=f"badge {text.lower().split()[0]}")
        return element("td", badge)
    kind = "number" if column.to_the_right else "time" if column.form is texts.time else None
    return element("td", element("bdi", text), **({"class_": kind} if kind else {}))


def table(shown, caption):
    titles = [element("th", column.title, scope="col",
                      **({"class_": "number"} if column.to_the_right else {}))
              for column in shown.columns]
    rows = [element("tr", *map(cell, shown.columns, row)) for row in shown.rows]
    made = element("table", element("caption", caption), element("thead", element("tr", *titles)),
                   element("tbody", *rows))
    scroller = element("div", made, class_="scroller", tabindex="0", role="region",
                       aria_label=caption)
    rest = [element("p", shown.rest, class_="note")] if shown.rest else []
    return [scroller, *rest]


def chart(shown, with_charts):
    made = element("figure", element("figcaption", shown.title), id=shown.name,
                   **({"class_": "wide"} if shown.wide else {}))
    if shown.note:
        made.append(element("p", shown.note, class_="note"))
    if shown.data is None or not with_charts:
        made.extend(table(shown.table, shown.title))
        return made
    made.append(element("div", class_="chart", data_chart=shown.name))
    summary = element("summary", f"Table: {texts.plural(len(shown.table.rows), 'row')}")
    made.append(element("details", summary, *table(shown.table, shown.title)))
    return made


def section(shown, with_charts):
    return element("section", element("h2", shown.title),
                   element("div", *(chart(c, with_charts) for c in shown.charts), class_="charts"),
                   id=f"section-{shown.name}")


def navigation(sections):
    links = [element("a", shown.title, href=f"#section-{shown.name}") for shown in sections]
    return element("nav", *links, aria_label="Sections")


def page(title, summary, sources, style, script):
    """`script` draws the charts; without it there are only tables."""
    with_charts = bool(script)
    sections = views.sections(summary, sources)
    tiles = [tile(shown) for shown in views.tiles(summary, sources)]
    body = element("body", header(title, summary, sources), navigation(sections),
                   element("dl", *tiles, class_="tiles"),
                   element("main", *(section(shown, with_charts) for shown in sections)))
    if with_charts:
        data = {c.name: c.data | {"title": c.title} for s in sections for c in s.charts if c.data}
        body.insert(1, element("noscript", element(
            "p", "The charts need scripts. The tables say the same.", class_="note")))
        body.append(element("script", as_json(data), type="application/json", id="data"))
        body.append(element("script", script))
    head = element(
        "head", element("meta", charset="utf-8"),
        element("meta", http_equiv="Content-Security-Policy", content=policy(style, script)),
        element("meta", name="viewport", content="width=device-width, initial-scale=1"),
        element("meta", name="color-scheme", content="light dark"),
        element("title", title), element("style", style))
    return document(element("html", head, body, lang="en"))
