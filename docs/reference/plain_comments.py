#!/usr/bin/env python3
"""Hands the public headers to Doxygen: plain_comments.py [--page] HEADER

With --page what stands at the head of the C header is a page of its own, else the first one.

The headers are written to be read as text. Their comments have a form of their own, which becomes
Doxygen's commands here:

  name, name  text        what a parameter is
  Returns A; B text; ...  the results
  Cost: text              what a call costs
  a banner                begins a group; the plain comment behind it is about the whole group, and
                          what it says of parameters and results holds for each function in it
"""
import re
import sys

BANNER = re.compile(r"/\* --- (.+?) -+ \*/\n\n?(?:/\*\n((?: \*.*\n)+?) \*/\n)?")
COMMENT = re.compile(r"( *)/\*\*(.*?)\*/((?:(?!/\*)[^;{])*[;{])?", re.S)
PARAMETER = re.compile(r"(\w+(?:, \w+)*)  +(\S.*)")
GROUP_END = "#ifdef __cplusplus\n}\n#endif\n"


def unstarred(text):
    lines = [re.sub(r"^ *\*? ?", "", line, count=1) if at else line.lstrip(" ")
             for at, line in enumerate(text.split("\n"))]
    return [line.rstrip() for line in lines]


def escaped(text):
    # Doxygen takes what stands in double quotes as it is.
    text = re.sub(r'("[^"\n]*")|([\\@&$#<>%])',
                  lambda match: match[1] or "\\" + match[2], text)
    return re.sub(r"\b((?:NEB_XML|XML)_[A-Z][a-z]\w*)\b(?!\()", r"\1()", text)


def paragraphs(lines):
    """Groups lines into paragraphs, and cuts a paragraph before each parameter and what follows."""
    parts = []
    for line in lines:
        behind = bool(parts and parts[-1] and PARAMETER.fullmatch(parts[-1][0]))
        if not line:
            parts.append([])
        elif behind and line.startswith("Returns "):
            parts.append([line])
        elif PARAMETER.fullmatch(line) and (not parts or parts[-1:] == [[]]
                                            or PARAMETER.fullmatch(parts[-1][0])):
            parts.append([line])
        elif not parts:
            parts.append([line])
        else:
            parts[-1].append(line)
    return [part for part in parts if part]


def results(lines, meanings):
    """The commands for a paragraph that begins with Returns or Results, and what stands behind."""
    if any(line.startswith("  - ") for line in lines):
        listed = max(at for at, line in enumerate(lines) if line.startswith("  "))
        return ["@return " + "\n".join(escaped(line) for line in lines[:listed + 1]).replace(
            "Returns ", "", 1)], " ".join(lines[listed + 1:])
    text = " ".join(line.strip() for line in lines)
    text = re.sub("^Returns ", "", text)
    items = re.split(r"(?:;|,)(?: or| and)? (?=NEB_XML_[A-Z_]+\b)", text)
    items[-1], _, rest = re.sub(r"\. (?=[A-Z])", ".\0", items[-1], count=1).partition("\0")
    commands, said = [], {}
    for item in items:
        code, _, why = item.partition(" ")
        code, why = code.rstrip(".,;"), why.strip()
        if not re.fullmatch(r"NEB_XML_[A-Z_]+", code):
            commands.append("@return " + escaped(item))
        elif code in said:
            said[code] += "; " + why
        else:
            said[code] = why or meanings.get(code, "")
    return commands + ["@retval %s %s" % (code, escaped(why)) for code, why in said.items()], rest


class Comment:
    """What a comment says, by kind."""

    def __init__(self, text, meanings):
        self.text, self.parameters, self.results, self.cost = [], {}, [], ""
        self.like = re.findall(r"\b[Aa]s (?:for )?((?:NEB_XML|XML)_[A-Z][a-z]\w*)", text)
        for part in paragraphs(unstarred(text)):
            match = PARAMETER.fullmatch(part[0])
            if match:
                said = " ".join([match[2]] + [line.strip() for line in part[1:]])
                for name in match[1].split(", "):
                    self.parameters[name] = escaped(said)
                continue
            begin = next((at for at, line in enumerate(part) if re.match("Returns |Results ", line)), None)
            if begin is None:
                self.add("\n".join(part))
                continue
            self.add("\n".join(part[:begin]))
            self.results, rest = results(part[begin:], meanings)
            self.add(rest)

    def add(self, text):
        text, _, cost = re.sub(r"(^|\s)Cost: ", "\0", text, count=1).partition("\0")
        if text.startswith("  "):
            self.text.append("@code\n%s\n@endcode" % text)
        elif text:
            self.text.append(escaped(text))
        if cost:
            self.cost = escaped(" ".join(cost.split()))

    def completed(self, others, names):
        """Adds what others say of the parameters of a function, and of its results."""
        for other in others:
            for name in names:
                if name in other.parameters:
                    self.parameters.setdefault(name, other.parameters[name])
            self.results = self.results or other.results
            self.cost = self.cost or other.cost

    def written(self, names=()):
        """The text, and of a function that has these parameters what else there is to say."""
        strange = [name for name in self.parameters if name not in names]
        parts = self.text + ["%s: %s" % (name, self.parameters[name]) for name in strange]
        if self.cost:
            parts.append("@par Cost\n" + self.cost)
        commands = ["@param %s %s" % (name, self.parameters[name]) for name in names
                    if name in self.parameters]
        return "\n\n".join(parts + ["\n".join(commands + self.results)]).strip()


def parameters_of(declaration):
    match = re.search(r"\b(?:NEB_XML|XML)_\w+\((.*)\);$", declaration, re.S)
    if not match:
        return None
    names = []
    for part in re.sub(r"\([^*)][^()]*\)", "", match[1]).split(","):
        names += re.findall(r"\(\*(\w+)\)|(\w+)\s*$", part.strip())
    return [first or second for first, second in names]


def documented(text, group, meanings, known):
    """Known collects the comments of functions: one that is "as" another takes from it what it
    does not say itself, before it takes what the group says."""
    def replace(match):
        indent, inner, declaration = match[1], match[2], match[3] or ""
        if inner.startswith("<"):
            return match[0]
        comment = Comment(inner.strip("*"), meanings)
        names = parameters_of(declaration)
        if names is not None:
            comment.completed([known[name] for name in comment.like if name in known] + [group],
                              names)
            known[re.search(r"\b(?:NEB_XML|XML)_\w+(?=\()", declaration)[0]] = comment
        return "%s/** %s */%s" % (indent, comment.written(names or ()), declaration)

    return COMMENT.sub(replace, text)


def overview(text):
    """The comment at the head of the header, whose sections are titled."""
    lines = unstarred(text)
    name, purpose = lines[0].strip(" *").split(": ")
    parts = ["@page neb_xml " + purpose if sys.argv[1] == "--page" else
             "@mainpage %s\n\n%s%s" % (name, purpose[0].upper(), purpose[1:])]
    for at, line in enumerate(lines[1:], 1):
        title = line and not line.startswith(" ") and not lines[at - 1] and not lines[at + 1]
        if title and at > 3:
            parts += ["@section %s %s" % (re.sub(r"\W", "", line.lower()), line)]
        else:
            parts += [escaped(line.strip())]
    return "\n".join(parts)


def c_header(text):
    head = re.match(r"/\*\n(.*?)\*/\n", text, re.S)
    pieces = BANNER.split(text[head.end():])
    out = ["/** @file neb_xml.h\n The public interface. */\n", "/** %s */\n" % overview(head[1]),
           pieces[0]]
    meanings = {name: " ".join(unstarred(said)).strip() for said, name in re.findall(
        r"/\*\*((?:(?!\*/).)*)\*/\s*(NEB_XML_[A-Z_]+) =", text, re.S)}
    meanings["NEB_XML_OK"] = "Done."
    known = {}
    for title, about, body in zip(pieces[1::3], pieces[2::3], pieces[3::3]):
        group = Comment(about or "", meanings)
        name = "neb_xml_" + re.sub(r"\W+", "_", title.lower().split(":")[-1].split(",")[0].strip())
        if "Lower level" in title:
            name = name.replace("neb_xml_", "neb_xml_lower_")
        body, ends, tail = body.partition(GROUP_END)
        out.append("/** @defgroup %s %s\n\n%s\n@{ */\n" % (name, title, "\n\n".join(group.text)))
        out.append(documented(body, group, meanings, known))
        out.append("/** @} */\n" + ends + tail)
    return "".join(out)


def spread(text):
    """Repeats a comment before each further declaration of a class up to the next empty line."""
    out, shared, comment, depth, classes, begins = [], "", [], 0, [], True
    for line in text.split("\n"):
        code = re.sub(r"'(\\.|[^'])'|\"(\\.|[^\"])*\"|//.*", "", line)
        in_class = bool(classes) and classes[-1] == depth
        if line.lstrip().startswith("/**") or comment:
            comment.append(line)
            out.append(line)
            if "*/" in line:
                shared, comment, begins = "\n".join(comment), [], False
            continue
        if not line.strip():
            shared, begins = "", True
        elif in_class and begins and shared and not re.match(r" *(\}|\w+:$)", code):
            out.append(shared)
        out.append(line)
        if re.match(r" *(class|struct) [^;]*\{$", code):
            classes.append(depth + 1)
            shared = ""
        depth += code.count("{") - code.count("}")
        while classes and classes[-1] > depth:
            classes.pop()
        ends = bool(re.search(r"[;}:{] *$", code))
        begins = ends and bool(classes) and classes[-1] == depth
    return "\n".join(out)


def cpp_header(text):
    head = re.match(r"/\*\n(.*?)\*/\n", text, re.S)
    about = documented("/**" + head[1] + "*/", Comment("", {}), {}, {})
    body = documented(text[head.end():], Comment("", {}), {}, {})
    return about.replace("/**", "/** @file neb_xml.hpp\n", 1) + spread(body)


def main():
    with open(sys.argv[-1], encoding="utf-8") as file:
        text = file.read()
    sys.stdout.write(cpp_header(text) if sys.argv[-1].endswith(".hpp") else c_header(text))


if __name__ == "__main__":
    main()
