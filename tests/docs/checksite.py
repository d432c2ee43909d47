#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: checksite.py FOLDER: says what is wrong with the links of a site, and what it loads from elsewhere."""
import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

# What a browser fetches without being asked, and what it opens when it is.
LOADED = {"script": "src", "img": "src", "iframe": "src", "source": "src", "video": "src", "audio": "src",
          "object": "data", "embed": "src", "link": "href"}
OPENED = {"a": "href", "area": "href", "form": "action"}


class Page(HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.anchors, self.loads, self.links, self.styles = set(), [], [], []
        self._in_style = False
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        found = dict(attributes)
        self.anchors.update(found[name] for name in ("id", "name") if found.get(name))
        if found.get(LOADED.get(tag, "")):
            self.loads.append(found[LOADED[tag]])
        if found.get(OPENED.get(tag, "")):
            self.links.append(found[OPENED[tag]])
        for each in (found.get("srcset") or "").split(","):
            if each.strip():
                self.loads.append(each.split()[0])
        self.styles.append(found.get("style") or "")
        self._in_style = tag == "style"

    def handle_data(self, data):
        if self._in_style:
            self.styles.append(data)


def style_loads(text):
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return [found[0] or found[1] for found in
            re.findall(r"""url\(\s*['"]?([^'")]+)|@import\s+['"]([^'"]+)""", text)]


class Site:
    def __init__(self, folder):
        self.folder = folder
        self.pages = {path: Page(path.read_text(encoding="utf-8", errors="replace"))
                      for path in folder.rglob("*.html")}
        self.faults = []

    def fault(self, path, text):
        self.faults.append(f"{path.relative_to(self.folder)}: {text}")

    def follow(self, path, address, is_loaded):
        parts = urlsplit(address)
        if parts.scheme in ("data", "javascript", "mailto"):
            return
        if parts.scheme or parts.netloc:
            if is_loaded:
                self.fault(path, f"loads {address}")
            return
        target = path
        if parts.path:
            if parts.path.startswith("/"):
                return self.fault(path, f"{address} leads to the root of a server")
            target = (path.parent / unquote(parts.path)).resolve()
            if target.is_dir():
                target /= "index.html"
            if not target.is_file() or not target.is_relative_to(self.folder):
                return self.fault(path, f"{address} leads nowhere")
        if parts.fragment and target in self.pages and unquote(parts.fragment) not in self.pages[target].anchors:
            self.fault(path, f"{address} has no such place")

    def check(self):
        for path, page in self.pages.items():
            for address in page.loads + [each for style in page.styles for each in style_loads(style)]:
                self.follow(path, address, True)
            for address in page.links:
                self.follow(path, address, False)
        for path in self.folder.rglob("*.css"):
            for address in style_loads(path.read_text(encoding="utf-8", errors="replace")):
                self.follow(path, re.sub(r"[?#].*", "", address), True)
        return sorted(set(self.faults))


def main():
    site = Site(Path(sys.argv[1]).resolve())
    if not site.pages:
        sys.exit(f"no page in {sys.argv[1]}")
    faults = site.check()
    for fault in faults:
        print(fault)
    print(f"{len(site.pages)} pages, {len(faults)} faults")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
