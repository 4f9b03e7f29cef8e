# SPDX-License-Identifier: Apache-2.0
"""Shared by coverage and mutate: reads the tokens and statements of sources, and the committed
lists of what no test reaches or notices."""
import collections
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
# The library's folders.
FOLDERS = ("core", "core/base", "core/capture", "core/solver", "core/export")
# The test program of each folder, and that of the whole runs.
PROGRAMS = {folder: f"{folder.replace('/', '_')}_tests" for folder in FOLDERS}
PROGRAMS["core"] = "core_calibration_tests"
PROGRAMS["whole"] = "whole_tests"
# The list of what no test can reach, and the fields of its blocks.
UNREACHABLE = (TOP / "scripts" / "checks" / "coverage-unreachable.txt",
               ("file", "line", "missed", "reason"))


def squeeze(text):
    return re.sub(r"\s+", " ", text).strip()


def read_blocks(path, fields):
    """The blocks of a list, each as a dictionary. A block has "name: value" lines, which continue
    in indented lines, and ends at an empty line."""
    blocks, block, name = [], {}, None
    for number, line in enumerate(path.read_text().splitlines() + [""], 1):
        if line.startswith("#"):
            continue
        if not line.strip():
            if block and set(block) != set(fields):
                sys.exit(f"{path}: the block above line {number} needs {', '.join(fields)}")
            if block:
                blocks.append({key: squeeze(value) for key, value in block.items()})
            block, name = {}, None
        elif line[0].isspace() and name:
            block[name] += " " + line.strip()
        else:
            name, _, value = line.partition(":")
            block[name] = value
    return blocks


Token = collections.namedtuple("Token", "kind text start end")

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<raw>R"(?P<mark>\w*)\(.*?\)(?P=mark)")
      | (?P<string>"(?:\\.|[^"\\\n])*")
      | (?P<char>'(?:\\.|[^'\\\n])')
      | (?P<number>(?:0[xX][0-9a-fA-F]+|(?:\d[\d']*\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)[fFuUlL]*)
      | (?P<name>[A-Za-z_]\w*(?:::[A-Za-z_]\w*)*)
      | (?P<op><<=|>>=|\+\+|--|->|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)""",
    re.VERBOSE | re.DOTALL)


# What is defined where the checks run: Linux, and an OpenCV whose markers are in contrib. Code for
# anything else is not compiled there.
DEFINED = {"__linux__", "SO_REUSEPORT", "IP_MULTICAST_ALL", "RIGSYNC_ARUCO_IN_CONTRIB"}


def holds(directive, condition):
    """Whether #if, #ifdef, #ifndef or #elif lets the code below it be compiled."""
    if directive in ("ifdef", "ifndef"):
        return (condition.split()[0] in DEFINED) == (directive == "ifdef")
    texts = re.findall(r"\w+\(\w+\)|&&|\|\||!|\(|\)|\w+", condition)
    words = {"&&": "and", "||": "or", "!": "not", "(": "(", ")": ")"}
    defined = {f"defined({name})" for name in DEFINED}
    return bool(eval(" ".join(words.get(text, str(text in defined)) for text in texts), {}))


def blank_preprocessor(text):
    """Replaces directives, and code that is not compiled, by blanks, so that positions stay."""
    lines, open_conditions, end_of_raw = [], [], None
    for line in text.split("\n"):
        if end_of_raw:  # a line that begins with # in a raw text is no directive
            lines.append(line)
            end_of_raw = None if end_of_raw in line else end_of_raw
            continue
        directive = re.match(r"\s*#\s*(\w+)\s*([^/]*)", line)
        if directive and directive[1] in ("if", "ifdef", "ifndef"):
            now = holds(directive[1], directive[2])
            open_conditions.append([now, now])  # whether it holds, and whether one has held
        elif directive and directive[1] in ("elif", "else"):
            last = open_conditions[-1]
            now = not last[1] and (directive[1] == "else" or holds("elif", directive[2]))
            open_conditions[-1] = [now, now or last[1]]
        elif directive and directive[1] == "endif":
            open_conditions.pop()
        compiled = not directive and all(now for now, _ in open_conditions)
        lines.append(line if compiled else " " * len(line))
        raw = re.search(r'R"(\w*)\(', lines[-1])
        if raw and f'){raw[1]}"' not in line[raw.end():]:
            end_of_raw = f'){raw[1]}"'
    return "\n".join(lines)


def tokens_of(text):
    tokens = []
    for match in TOKEN.finditer(blank_preprocessor(text)):
        kind = "raw" if match["raw"] else match.lastgroup
        if kind != "comment" and not match[0].isspace():
            tokens.append(Token(kind, match[0], match.start(), match.end()))
    return tokens


class Source:
    """A file's tokens, its pairs of brackets, and where its statements begin and end."""

    def __init__(self, path):
        self.path = path
        self.text = (TOP / path).read_text()
        self.tokens = tokens_of(self.text)
        self.partner = {}      # bracket to bracket, by index
        self.group = []        # for each token, the index of the bracket around it or -1
        self.statements = []   # pairs of token indices, [first, last + 1)
        self.statement = {}    # token index to the pair
        self.classes = set()   # the indices of the braces that open classes
        self.read_structure()

    def opens_block(self, i, around, first):
        """What the brace at i opens, in a block or class (or not: around is None) and in the
        statement that began at first: "block", "class", or None for a list of values."""
        j = i - 1
        while j > first and i - j < 12 and self.tokens[j].text not in (")", "->", "]", "{", ";"):
            j -= 1  # over the type that a function returns
        if self.tokens[j].text == "->":
            j -= 1
        else:
            j = i - 1
        while j > first and self.tokens[j].text in ("mutable", "noexcept"):
            j -= 1
        before = self.tokens[j].text if j >= 0 else ""
        start = self.partner.get(j, j) if before == ")" else j + 1
        if before in (")", "]") and self.tokens[start - 1].text == "]":
            start = self.partner[start - 1]  # of a lambda, unless it is an index
        elif before == "]":
            start = self.partner[j]
        if self.tokens[start].text == "[" and not (
                self.tokens[start - 1].kind == "name" and self.tokens[start - 1].text != "return"
                or self.tokens[start - 1].text in (")", "]")):
            return "block"
        if around is None:
            return None
        if before in ("", ")", "{", "}", ";", ":", "else", "try", "do", "namespace", "const",
                      "override", "final"):
            return "block"
        head = [token.text for token in self.tokens[first:i]]
        if "namespace" in head[:1]:
            return "block"
        if head and head[0] in ("struct", "class", "union", "template") and "=" not in head and \
                "(" not in head and "enum" not in head:
            return "class"
        return None

    def end_statement(self, first, i):
        if first < i:
            pair = (first, i)
            self.statements.append(pair)
            for k in range(first, i):
                self.statement.setdefault(k, pair)  # those of a lambda have their own

    def read_structure(self):
        # For each open bracket: its index, what it opens, and where the statement around a lambda
        # began.
        stack, first = [], 0
        for i, token in enumerate(self.tokens):
            self.group.append(stack[-1][0] if stack else -1)
            around = stack[-1][1] if stack else "block"
            if token.text in ("(", "[", "{"):
                kind = self.opens_block(i, around, first) if token.text == "{" else None
                stack.append((i, kind, first))
                if kind:
                    if around is None:
                        first = i + 1
                    else:
                        self.end_statement(first, i)
                        first = i + 1
                        stack[-1] = (i, kind, None)
                if kind == "class":
                    self.classes.add(i)
            elif token.text in (")", "]", "}"):
                opened, kind, outer = stack.pop()
                self.partner[i], self.partner[opened] = opened, i
                self.group[i] = self.group[opened]
                if kind:
                    self.end_statement(first, i)
                    first = i + 1 if outer is None else outer
            elif token.text == ";" and around:
                self.end_statement(first, i)
                first = i + 1

    def in_class(self, i):
        """Whether the statement at i stands in a class itself, not in one of its functions."""
        return self.group[i] in self.classes

    def spaced(self, i):
        """Whether there is white space on both sides: an operator of two operands."""
        token = self.tokens[i]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def slice(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def statement_texts(self, i):
        first, end = self.statement.get(i, (i, i + 1))
        return [token.text for token in self.tokens[first:end]]

    def is_text(self, i):
        """Whether a plus joins texts: one side is a literal or the text of a number."""
        around = self.group[i]
        first, end = self.statement.get(i, (i, i + 1))
        if around >= 0 and around >= first:
            first, end = around + 1, self.partner[around]
        return any(token.kind in ("string", "char") or
                   token.text in ("std::to_string", "Error_Text", "Number_Row", "Output_Dir")
                   for token in self.tokens[first:end])

    def operand_before(self, i):
        """The first token of the operand that ends before token i, or None."""
        j = i - 1
        while True:
            if self.tokens[j].text in (")", "]"):
                j = self.partner[j]
                if self.tokens[j - 1].kind == "name" or self.tokens[j - 1].text == "]":
                    j -= 1
                elif self.tokens[j - 1].text == ">":  # a cast
                    while self.tokens[j].text != "<":
                        j -= 1
                    j -= 1
                if self.tokens[j].text in (")", "]"):
                    continue
            elif self.tokens[j].kind not in ("name", "number"):
                return None
            if self.tokens[j - 1].text in (".", "->"):
                j -= 2
                continue
            return j

    def operand_after(self, i):
        """The last token of the operand that begins after token i, or None."""
        j = i + 1
        if self.tokens[j].text == "(":
            j = self.partner[j]
        elif self.tokens[j].kind not in ("name", "number"):
            return None
        while True:
            following = self.tokens[j + 1].text
            if following == "<" and not self.spaced(j + 1):
                while self.tokens[j].text != "(":
                    j += 1
                j = self.partner[j]
            elif following in ("(", "["):
                j = self.partner[j + 1]
            elif following in (".", "->"):
                j += 2
            else:
                return j

    def leaving(self, first, end):
        """The statement's text; "return Code" belongs to the call that the code came from."""
        text = squeeze(self.slice(first, end - 1))
        if text == "return Code":
            before = self.statements[self.statements.index((first, end)) - 1]
            text = squeeze(self.slice(before[0], before[1] - 1))
        return text
