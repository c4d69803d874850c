#!/usr/bin/env python3
"""Shares the sources of an Open CASCADE package out over batches that can be compiled as one piece each: no source
with a name of its own (a file-local function, constant or type) is in a batch with another one that uses this name, and
one that leaves macros behind is by itself. Together they would not compile, or would mean something else without a word.

batches.py SIZE SOURCE...   prints "file batch" lines; SIZE is the most sources of a batch
"""
import os
import re
import sys

# Said twice in the same words, these mean what they meant.
TYPEDEF = re.compile(r"^typedef\b([^;]*?)(\w+)[ \t]*;", re.M)
OWN_NAMES = [re.compile(pattern, re.M) for pattern in (
    r"^(?:static|inline|struct|class|enum)\b[^;{}=]*?(\w+)[ \t\n]*(?=[({=;\[:])",
    r"^[ \t]+(?:struct|class|enum)\b[^;{}=()]*?(\w+)[ \t\n]*[{:]",
    r"^[ \t]+static\b[^;{}=]*?(\w+)[ \t\n]*\(",
    r"^(?:const|Standard_\w+|TCollection_\w+)\b[^;(){}:]*?(\w+)[ \t]*(?:\[[^\]]*\])?[ \t]*=",
)]
DEFINED = re.compile(r"^[ \t]*#[ \t]*define[ \t]+(\w+)([^\n]*)", re.M)
UNDEFINED = re.compile(r"^[ \t]*#[ \t]*undef[ \t]+(\w+)", re.M)
HANDLE = re.compile(r"Handle\((\w+)\)")
# Files that are written to be included in several sources: what they define is the including source's own.
TEMPLATE = re.compile(r"^[ \t]*#[ \t]*include[ \t]*[<\"]([^>\"]*\.[gp]xx)[>\"]", re.M)
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
WORD = re.compile(r"\w+")


def read(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        return COMMENT.sub(" ", file.read())


def whole_text(path):
    """The source with the templates it fills in, each once."""
    folder, text, seen = os.path.dirname(os.path.dirname(path)), read(path), set()
    while True:
        names = [name for name in TEMPLATE.findall(text) if name not in seen]
        if not names:
            return text
        for name in names:
            seen.add(name)
            template = os.path.join(folder, name.split("_")[0], name)
            text += "\n" + (read(template) if os.path.exists(template) else "")


class Source:
    def __init__(self, text):
        text = HANDLE.sub(r"\1", text)
        self.words = set(WORD.findall(text))
        self.own = {name for pattern in OWN_NAMES for name in pattern.findall(text)}
        self.repeatable = {name: meaning.strip() for meaning, name in TYPEDEF.findall(text)}
        macros = {name: meaning.strip() for name, meaning in DEFINED.findall(text)}
        for name in UNDEFINED.findall(text):
            macros.pop(name, None)
        # A wish for fewer checks may reach as far as it likes. What fills in a template has names that are not to be
        # met elsewhere; any other macro may turn up in any header.
        lasting = {name for name in macros if not name.startswith("No_")}
        filling = {name for name in lasting if name.startswith(("The", "Handle_")) or name.endswith("_hxx")}
        self.alone = lasting != filling
        self.repeatable.update((name, macros[name]) for name in lasting)

    def disturbs(self, other):
        if self.alone or self.own & other.words:
            return True
        return any(other.repeatable.get(name) != meaning
                   for name, meaning in self.repeatable.items() if name in other.words)


def share_out(size, paths):
    batches = []
    for path in paths:
        source = Source(whole_text(path))
        for batch in batches:
            if len(batch) < size and not any(source.disturbs(other) or other.disturbs(source) for other in batch):
                break
        else:
            batch = []
            batches.append(batch)
        batch.append(source)
        yield os.path.basename(path), batches.index(batch)


if __name__ == "__main__":
    for name, batch in share_out(int(sys.argv[1]), sys.argv[2:]):
        print(name, batch)
