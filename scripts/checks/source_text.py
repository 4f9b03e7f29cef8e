# SPDX-License-Identifier: Apache-2.0
"""Shared by coverage and mutate: reads the tokens and statements of the library's source, and the
committed lists of what no test reaches or notices."""
import collections
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
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
      | (?P<string>"(?:\\.|[^"\\\n])*")
      | (?P<char>'(?:\\.|[^'\\\n])')
      | (?P<number>(?:0[xX][0-9a-fA-F]+|(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)[fFuUlL]*)
      | (?P<name>[A-Za-z_]\w*(?:::[A-Za-z_]\w*)*)
      | (?P<op><<=|>>=|\+\+|--|->|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)""",
    re.VERBOSE | re.DOTALL)


def blank_preprocessor(text):
    """Replaces directives and code for other systems by blanks, so that positions stay."""
    lines, skipping = [], False
    for line in text.split("\n"):
        directive = re.match(r"\s*#\s*(\w+)(.*)", line)
        if directive and directive[1] in ("if", "ifdef") and "_WIN32" in directive[2]:
            skipping = True
        elif directive and directive[1] in ("else", "endif"):
            skipping = False
        lines.append(" " * len(line) if directive or skipping else line)
    return "\n".join(lines)


def tokens_of(text):
    tokens = []
    for match in TOKEN.finditer(blank_preprocessor(text)):
        if match.lastgroup != "comment" and not match[0].isspace():
            tokens.append(Token(match.lastgroup, match[0], match.start(), match.end()))
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
        self.read_structure()

    def opens_block(self, i):
        before = self.tokens[i - 1].text if i else ""
        return before in (")", "{", "}", ";", "else", "try", "namespace", "const")

    def read_structure(self):
        stack, first = [], 0
        for i, token in enumerate(self.tokens):
            self.group.append(stack[-1] if stack else -1)
            in_block = all(self.tokens[j].text == "{" and self.opens_block(j) for j in stack)
            if token.text in ("(", "[", "{"):
                block = token.text == "{" and in_block and self.opens_block(i)
                stack.append(i)
            elif token.text in (")", "]", "}"):
                self.partner[i] = stack[-1]
                self.partner[stack[-1]] = i
                self.group[i] = self.group[stack[-1]]
                block = token.text == "}" and self.opens_block(stack[-1])
                stack.pop()
                block = block and all(self.opens_block(j) for j in stack)
            else:
                block = token.text == ";" and in_block
            if block:
                if first < i:
                    pair = (first, i)
                    self.statements.append(pair)
                    for k in range(first, i):
                        self.statement[k] = pair
                first = i + 1

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
            if self.tokens[j - 1].text == ".":
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
            elif following == ".":
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
