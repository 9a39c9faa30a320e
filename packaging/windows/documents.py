#!/usr/bin/python3
"""The documents as HTML: documents.py SOURCE-TREE FOLDER

All of docs/ but the decisions, and what samples/ says of itself, in the same places below FOLDER. Links
lead from one to another; what they do not find there is left as text."""

import os
import pathlib
import re
import subprocess
import sys

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<style>
body {{ max-width: 60em; margin: 2em auto; padding: 0 1em; font: 16px/1.5 "Segoe UI", sans-serif }}
pre, code {{ font-family: Consolas, monospace; font-size: 14px }}
pre {{ background: #f4f4f4; padding: .7em; overflow: auto }}
table {{ border-collapse: collapse }}
td, th {{ border: 1px solid #ccc; padding: .2em .6em; text-align: left; vertical-align: top }}
</style>
</head>
<body>
<p><a href="{start}">Tarnwick for administrators</a></p>
{body}
</body>
</html>
"""


def heading(match):
    """A heading under the name by which links in the sources know it."""
    level, content = match.groups()
    plain = re.sub(r"<[^>]*>|&[a-z]+;", "", content).lower()
    name = re.sub(r"[^\w -]", "", plain).replace(" ", "-")
    return f'<h{level} id="{name}">{content}</h{level}>'


def page(source, tree, sources):
    text = source.read_text(encoding="utf-8")
    body = subprocess.run(["cmark-gfm", "--extension", "table"], input=text, check=True,
                          capture_output=True, encoding="utf-8").stdout
    body = re.sub(r"<h([1-6])>(.*?)</h\1>", heading, body)

    def link(match):
        target, content = match.groups()
        name, _, place = target.partition("#")
        if re.match("[a-z]+:", target) or not name:
            return match.group(0)
        if (source.parent / name).resolve() not in sources:
            return content
        return f'<a href="{name.removesuffix(".md")}.html{"#" + place if place else ""}">{content}</a>'

    body = re.sub(r'<a href="([^"]*)">(.*?)</a>', link, body, flags=re.DOTALL)
    start = os.path.relpath(tree / "docs/windows.html", source.parent)
    title = re.search(r"^# (.*)", text, re.MULTILINE).group(1)
    return PAGE.format(title=f"{title} - Tarnwick", start=start, body=body)


def main(tree, folder):
    sources = {*tree.glob("docs/*.md"), tree / "samples/README.md"}
    pages = {}
    for source in sorted(sources):
        made = (folder / source.relative_to(tree)).with_suffix(".html").resolve()
        pages[made] = page(source, tree, sources)
        made.parent.mkdir(parents=True, exist_ok=True)
        made.write_text(pages[made], encoding="utf-8")
    for made, text in pages.items():
        for name, place in re.findall(r'<a href="([^":#]*)#([^"]*)"', text):
            target = (made.parent / name).resolve() if name else made
            if f'id="{place}"' not in pages[target]:
                sys.exit(f"{made.name}: no heading of {target.name} is called {place}")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]))
