#!/usr/bin/env python3
"""Doxygen's input filter: prints a file in the form that Doxygen reads.

Usage: filter.py FILE

Headers (*.h): the comments become documentation. The first comment of a file is the file's, one in front of
declarations is each of theirs, one that stands alone is the file's again, one behind a field or a value is that one's.
In front of a function the table of arguments becomes @param, that of statuses @retval.

Pages (*.md): names of functions link to the reference, links to other pages become Doxygen's, links to files that the
site does not have become text. On the start page links in lists make the pages the start page's own.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
STATUS = r"zel(?:Ok|Err\w*|Warn\w*)"
DIRECTION = r"\[(?:in|out|in,out)\]"


def exports() -> set:
    text = (ROOT / "src" / "zeldc.map").read_text(encoding="utf-8")
    return set(re.findall(r"\b(zel\w+);", text))


EXPORTS = exports()


def page_label(path: pathlib.Path) -> str:
    return "page_" + re.sub(r"\W", "_", path.stem)


def section_label(path: pathlib.Path, heading: str) -> str:
    """For a heading, or for the part of a link that names it."""
    return page_label(path) + "_" + re.sub(r"\W", "_", heading.lower())


# Headers

def escape(text: str) -> str:
    text = re.sub(r"([\\@#*])", r"\\\1", text).replace("&", "&amp;").replace("<", "&lt;")
    return re.sub(r"\bzels?\w+", lambda m: f"@link {m[0]} {m[0]} @endlink" if m[0] in EXPORTS else m[0], text)


class Comment:
    """A comment's text, line by line, as documentation of something with these arguments."""

    def __init__(self, lines: list, arguments=()):
        self.arguments = set(arguments)
        self.out = []
        self.item = False  # whether an indented line goes on with an argument or a status
        self.code = False  # whether a block of preformatted lines is open
        self.blank = True
        for line in self.split(lines):
            self.take(line)
        self.end_code()

    def split(self, lines: list):
        """Tables may have been joined to paragraphs: an argument with a direction or a status starts a line."""
        for line in lines:
            if self.arguments:
                line = re.sub(r"(?<=\S) (?=p+[A-Z]\w*\s+" + DIRECTION + ")", "\n", line)
                line = re.sub(r"(?<=\S) (?=" + STATUS + r"\s{2,}\S)", "\n", line)
            yield from line.split("\n")

    def end_code(self):
        if self.code:
            while self.out[-1] == "":
                self.out.pop()
            self.out += ["@endcode", ""]
            self.code = False

    def take(self, line: str):
        if not line.strip():
            self.out.append("")
            self.blank = True
            self.item = False
            return
        indented = line.startswith("  ")
        if not indented:
            self.end_code()
        if self.code or (indented and self.blank and not line.lstrip().startswith("- ")):
            if not self.code:
                self.out.append("@code{.unparsed}")
                self.code = True
            self.out.append(line[2:])
        elif indented and self.item:
            text = escape(line.strip())
            self.out.append("  " + ("<br>" if re.match(r"zel\w+(, zel\w+)*: ", line.strip()) else "") + text)
        elif not self.take_item(line):
            self.out.append(escape(line.strip()) if not indented else "  " + escape(line.strip()))
            self.item = False
        self.blank = False

    def take_item(self, line: str) -> bool:
        """Takes the first line of an argument or a status."""
        match = re.match(r"(" + STATUS + r"(?:, " + STATUS + r")*)(?:\s{2,}(.*))?$", line)
        if match and self.arguments:
            for name in match[1].split(", "):
                self.out.append(f"@retval {name} {escape(match[2] or '')}")
            self.item = True
            return True
        match = re.match(r"(\w+(?:, \w+)*)(:| *(?:" + DIRECTION + r")?)(?:\s+(.*))?$", line)
        if match and set(match[1].split(", ")) <= self.arguments:
            direction = match[2].strip() if match[2] != ":" else ""
            self.out.append(f"@param{direction} {match[1].replace(', ', ',')} {escape(match[3] or '')}")
            self.item = True
            return True
        match = re.match(r"Returns (.*)", line)
        if match and self.arguments:
            self.out.append("@return " + escape(match[1]))
            self.item = True
            return True
        return False


def block(lines: list) -> str:
    return "/**\n" + "\n".join(" * " + line if line else " *" for line in lines) + "\n */"


def comment_lines(text: str) -> list:
    """The text between the marks of a comment, without the stars that begin its lines."""
    lines = text[2:-2].split("\n")
    lines = [re.sub(r"^ \* ?", "", line) if i else line.strip() for i, line in enumerate(lines)]
    lines = [re.sub(r"^   (?=\S)", "", line) if i and not text.startswith("/*\n") else line
             for i, line in enumerate(lines)]
    while lines and not lines[0].strip():
        lines.pop(0)
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def arguments_of(declaration: str) -> list:
    match = re.search(r"\(([^()]*)\);", declaration)
    if not match or match[1] == "void":
        return []
    return [re.search(r"(\w+)\s*$", part)[1] for part in match[1].split(",")]


def without_machinery(text: str) -> str:
    """Without include guards, what C++ needs, and checks of layouts."""
    text = re.sub(r"#ifdef __cplusplus\n.*?#endif\n", "", text, flags=re.S)
    text = re.sub(r"#if defined\(__cplusplus\)\n.*?#undef \w+\n", "", text, flags=re.S)
    text = re.sub(r"#if defined\(_WIN32\)\n.*?\n#endif\n(?=\n)", "", text, flags=re.S)
    text = re.sub(r"#ifndef (\w+_H)\n#define \1\n", "", text)
    return re.sub(r"#endif\n\s*$", "", text)


def header(text: str) -> str:
    parts = re.split(r"(/\*.*?\*/)", without_machinery(text), flags=re.S)
    out = []
    first = True
    name = ""  # of the typedef before an enumeration of its values
    for i, part in enumerate(parts):
        if not part.startswith("/*"):
            for match in re.finditer(r"typedef \w+ (\w+);|^enum \{", part, re.M):
                name = match[1] or name
            # Values of a type that stand behind it.
            out.append(re.sub(r"(^typedef \w+ (\w+);\n+)(?=enum \{)", r"\1/** Values of \2. */\n", part, flags=re.M))
            continue
        before = parts[i - 1].rsplit("\n", 1)[-1] if i else ""
        after = parts[i + 1] if i + 1 < len(parts) else ""
        lines = comment_lines(part)
        if first:
            out.append(block(["@file"] + Comment(lines).out))
            first = False
        elif before.strip():
            out.append("/**< " + " ".join(Comment(lines).out) + " */")
        elif before:
            out.append("/** " + " ".join(Comment(lines).out) + " */")
        elif after.startswith("\n\n"):
            out.append(block(["@file"] + Comment(lines).out))
        else:
            # Each of the declarations up to the next empty line gets the comment.
            declarations, rest = (after.lstrip("\n").split("\n\n", 1) + [""])[:2]
            if declarations.startswith("ZELDC_API") or declarations.startswith("ZELCORE_API"):
                made = []
                for declaration in re.findall(r"\w+_API .*?;", declarations, re.S):
                    made.append(block(Comment(lines, arguments_of(declaration)).out) + "\n" + declaration)
                out.append("\n\n".join(made))
                parts[i + 1] = "\n\n" + rest
            else:
                out.append(block(Comment(lines).out))
    return "".join(out)


# Pages

def page(path: pathlib.Path, text: str) -> str:
    pages = set((ROOT / "docs").rglob("*.md"))
    start = path == ROOT / "docs" / "index.md"

    def link(match) -> str:
        words, target = match[1], match[2]
        if re.match(r"\w+:|@ref", target):
            return match[0]
        if target.startswith("#"):
            return f"[{words}](@ref {section_label(path, target[1:])})"
        found = (path.parent / target.split("#")[0]).resolve()
        if found in pages:
            if start and line.lstrip().startswith(("-", "|")):
                return f'@subpage {page_label(found)} "{words}"'
            return f"[{words}](@ref {page_label(found)})"
        if found.suffix == ".svg" and match[0].startswith("!"):
            return f'<img src="{found.name}" alt="{words}">'
        if found.suffix == ".h" and found.parent.name in ("include", "zeldc"):
            return f"[{words.strip('`')}](@ref {found.relative_to(ROOT / 'include')})"
        file = f"`{found.relative_to(ROOT)}`"
        if words.startswith("`"):
            return words
        return file if words in (found.name, str(found.relative_to(ROOT))) else f"{words} ({file})"

    def function(match) -> str:
        name = match[1]
        return f"<code>@link {name} {name} @endlink</code>" if name in EXPORTS else match[0]

    out = []
    fenced = False
    for number, line in enumerate(text.split("\n")):
        if line.startswith("```"):
            fenced = not fenced
            line = line.replace("```c", "```{.c}") if re.fullmatch("```c", line) else line
        elif not fenced:
            line = re.sub(r"!?\[([^\]]*)\]\(([^)\s]*)\)", link, line)
            line = re.sub(r"`(zel\w+)`", function, line)
        if number == 0 and line.startswith("# "):
            line += f" {{#{'mainpage' if start else page_label(path)}}}"
        elif not fenced and (heading := re.fullmatch(r"##+ (.*)", line)):
            line += f" {{#{section_label(path, heading[1])}}}"
        out.append(line)
    return "\n".join(out)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    path = pathlib.Path(sys.argv[1]).resolve()
    text = path.read_text(encoding="utf-8")
    sys.stdout.reconfigure(encoding="utf-8")
    if path.suffix == ".h":
        text = header(text)
    elif path.suffix == ".md":
        text = page(path, text)
    print(text, end="")


if __name__ == "__main__":
    main()
