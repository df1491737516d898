"""Elements of a page. All texts are escaped."""

import xml.etree.ElementTree as ET


def element(tag, *children, **attributes):
    """Makes an element. Attributes that are Python keywords have a trailing underscore."""
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
    # Lone surrogates can be reported, but not encoded.
    return ("<!DOCTYPE html>\n" + body + "\n").encode("utf-8", "replace")
