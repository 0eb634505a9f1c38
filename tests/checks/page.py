#!/usr/bin/env python3
"""page.py PAGE PROJECT COPY FOUND: a page is well-formed, does nothing and loads nothing, and says of each entry of the
project what became of it in the copy, if there is one; what was found is as the file FOUND has it, one object a line. Prints faults."""
import base64, hashlib, json, os, re, sys
from html.parser import HTMLParser

MAY = {"html": {"lang"}, "head": (), "meta": {"charset", "http-equiv", "content", "name"}, "title": (), "style": (),
       "body": (), "a": {"class", "href"}, "details": {"class", "open"}, "ul": {"class"}, "p": {"class"},
       "h2": {"id"}, "th": {"scope"},
       **dict.fromkeys("main h1 li table tr td bdi i b em mark strong small code summary".split(), ())}
faults = []

def named(text):  # the bytes of a name, from how folder_host/text/Printable.h shows it
    def character(escape):
        kind = escape[1].decode()
        if kind[0] in "nt\\": return {"n": b"\n", "t": b"\t", "\\": b"\\"}[kind]
        return bytes.fromhex(kind[1:]) if kind[0] == "x" else chr(int(kind[1:], 16)).encode()
    if text.startswith("'"): text = text[1:-1].replace("''", "'")
    return re.sub(rb"\\(n|t|\\|x..|u.{4}|U.{8})", character, text.encode())

class Page(HTMLParser):
    def __init__(self):
        super().__init__()
        self.open, self.items, self.entries, self.found, self.levels, self.policy, self.style = [], [], [], [], [], "", ""

    def handle_starttag(self, tag, attributes):
        if tag not in MAY or any(name not in MAY[tag] for name, _ in attributes):
            faults.append(f"an element that may not be there: {tag} {attributes}")
        attributes = dict(attributes)
        if not attributes.get("href", "#").startswith("#"): faults.append(f"leads away: {attributes}")
        self.policy += attributes.get("content", "") if "http-equiv" in attributes else ""
        if tag != "meta": self.open.append(tag)
        if re.fullmatch("h[1-6]", tag): self.levels.append(int(tag[1]))
        if tag == "li": self.items.append({"name": None, "state": None})

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag: faults.append(f"ends in another order: {tag} {self.getpos()}")
        if tag == "li": self.items.pop()

    def handle_data(self, text):
        tag = self.open[-1] if self.open else None
        if tag == "style": self.style += text
        if re.search("[^\n -~\xa0-\uffff\U00010000-\U0010ffff]", text): faults.append(f"a control: {text!r}")
        if tag == "strong": self.found.append(text)
        if not self.items: return
        item = self.items[-1]
        if tag == "bdi" and item["name"] is None: item["name"] = named(text)
        if tag in "bi" and item["state"] is None and item["name"] is not None:
            item["state"] = text
            deep = b"/" in item["name"].rstrip(b"/")
            self.entries.append((item["name"] if deep else b"".join(i["name"] for i in self.items), text))

def entries(folder):
    for above, folders, files in os.walk(folder.encode()):
        if above == folder.encode(): folders.remove(b".project")
        for name in folders + files:
            path = os.path.join(above, name)
            if not os.path.islink(path) and not os.path.isdir(path) and not os.path.isfile(path): continue
            yield os.path.relpath(path, folder.encode()) + (b"/" if os.path.isdir(path) and not os.path.islink(path) else b"")

page = Page()
page.feed(open(sys.argv[1], encoding="utf-8").read())
page.close()
if page.open: faults.append(f"not ended: {page.open}")
style = base64.b64encode(hashlib.sha256(page.style.encode()).digest()).decode()
if page.policy != f"default-src 'none'; base-uri 'none'; form-action 'none'; style-src 'sha256-{style}'":
    faults.append("another policy: " + page.policy)
if re.search("url|import", page.style): faults.append("the style loads something")
if page.levels[:1] != [1] or any(b > a + 1 for a, b in zip(page.levels, page.levels[1:])): faults.append("headings")
copied = set(entries(sys.argv[3])) if os.path.exists(sys.argv[3]) else None
become = sorted((path, "shared" if path in copied else "held back") for path in entries(sys.argv[2])) if copied else []
if copied and sorted(page.entries) != become:
    faults.append(f"entries: {set(page.entries) ^ set(become)}"[:300])
objects = [json.loads(line) for line in open(sys.argv[4], encoding="utf-8")]
found = sorted(one["identifier"] for one in objects if one["type"] in ("risk", "note"))
if sorted(page.found) != found: faults.append(f"found: {page.found}, not {found}")
print("\n".join(faults))
sys.exit(bool(faults))
