"""Elements of a page. Whatever is put in as text comes out as text."""

import xml.etree.ElementTree as ET


def element(tag, *children, **attributes):
    """A trailing underscore keeps an attribute apart from Python's own words."""
    made = ET.Element(tag, {name.rstrip("_").replace("_", "-"): value
                            for name, value in attributes.items()})
    for child in children:
        append(made, child)
    return made


def append(parent, child):
    if isinstance(child, ET.Element):
        parent.append(child)
    elif len(parent):
        parent[-1].tail = (parent[-1].tail or "") + child
    else:
        parent.text = (parent.text or "") + child


def document(root):
    body = ET.tostring(root, encoding="unicode", method="html")
    # Halves of surrogate pairs can be reported, but not written.
    return ("<!DOCTYPE html>\n" + body + "\n").encode("utf-8", "replace")
