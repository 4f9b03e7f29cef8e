#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# check_run_log.py PAGE RULE LOG...: checks run logs against the grammar on the page that describes
# them. Exits with 1 and names the log when one does not follow RULE. The grammar is not recursive,
# so each rule is a regular expression.
import re
import sys

TERMINALS = {
    "number": r"-?(?:\d+\.\d{6}|inf|nan)",
    "count": r"\d+",
    "text": r"[^\n]*",
    "nl": r"\n",
}
TOKEN = re.compile(
    r'\s*(?:"(?P<terminal>[^"]*)"|(?P<special>\?[^?]*\?)|(?P<name>[a-z][a-z0-9 ]*[a-z0-9])'
    r"|(?P<times>\d+)|(?P<mark>[=;,|()\[\]{}*]))"
)
LINE_HEAD = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\t")


def tokens(text):
    at = 0
    while text[at:].strip():
        match = TOKEN.match(text, at)
        if not match:
            sys.exit("the grammar can't be read at: " + text[at : at + 60])
        yield match.lastgroup, match.group(match.lastgroup)
        at = match.end()


class Grammar:
    """The rules of a page, each as the source of a regular expression."""

    def __init__(self, page):
        self.rest = list(tokens(re.search(r"```ebnf\n(.*?)```", page, re.S).group(1)))
        self.rules = {}
        while self.rest:
            _, name = self.rest.pop(0)
            self.take("=")
            self.rules[name] = self.alternatives()
            self.take(";")

    def take(self, mark):
        kind, text = self.rest.pop(0)
        if (kind, text) != ("mark", mark):
            sys.exit(f"the grammar has '{text}' where '{mark}' is expected")

    def next_is(self, mark):
        return self.rest[0] == ("mark", mark)

    def alternatives(self):
        found = [self.sequence()]
        while self.next_is("|"):
            self.take("|")
            found.append(self.sequence())
        return ("or", found)

    def sequence(self):
        found = [self.factor()]
        while self.next_is(","):
            self.take(",")
            found.append(self.factor())
        return ("and", found)

    def factor(self):
        kind, text = self.rest.pop(0)
        if kind == "terminal":
            return ("source", re.escape(text))
        if kind == "special":
            return ("source", None)
        if kind == "name":
            return ("rule", text)
        if kind == "times":
            self.take("*")
            return ("times", int(text), self.factor())
        close = {"(": ")", "[": "]", "{": "}"}[text]
        inside = self.alternatives()
        self.take(close)
        return (text, inside)

    def source(self, node):
        kind = node[0]
        if kind == "source":
            return node[1]
        if kind == "rule":
            return TERMINALS.get(node[1]) or self.source(self.rules[node[1]])
        if kind == "times":
            return f"(?:{self.source(node[2])}){{{node[1]}}}"
        if kind == "or":
            return "(?:" + "|".join(self.source(part) for part in node[1]) + ")"
        if kind == "and":
            return "".join(self.source(part) for part in node[1])
        return "(?:" + self.source(node[1]) + ")" + {"(": "", "[": "?", "{": "*"}[kind]


def messages(path):
    with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as log:
        lines = log.read().split("\n")
    if lines.pop() != "":
        sys.exit(path + ": the last line has no end")
    for line in lines:
        if not LINE_HEAD.match(line):
            sys.exit(f"{path}: no time and tab in front of: {line}")
    return "".join(line[20:] + "\n" for line in lines)


def main():
    page, rule, logs = sys.argv[1], sys.argv[2], sys.argv[3:]
    with open(page, encoding="utf-8") as source:
        grammar = Grammar(source.read())
    form = re.compile(grammar.source(("rule", rule)))
    for log in logs:
        if not form.fullmatch(messages(log)):
            print(f"{log} doesn't follow the grammar's rule '{rule}'")
            sys.exit(1)


main()
