# SPDX-License-Identifier: Apache-2.0
"""The small changes that mutate makes: every change of a source that the rules allow. What provably
has no effect is not changed; docs/testing.md lists these exceptions with their reasons."""
import collections
import decimal
import os
import re
import struct

from source_text import TOP, UNREACHABLE, Source, read_blocks, squeeze

Mutant = collections.namedtuple("Mutant", "file line kind start end new before after key")


def next_float(number):
    """A literal with its last digit increased until the stored value differs."""
    suffix = "f" if number[-1] in "fF" else ""
    digits = decimal.Decimal(number[:-1] if suffix else number)
    step = decimal.Decimal(1).scaleb(digits.as_tuple().exponent)
    stored = in_single if suffix else float
    changed = digits + step
    while stored(changed) == stored(digits):
        changed += step
    text = str(changed)
    return text + ("" if re.search(r"[.E]", text) else ".0") + suffix


def in_single(number):
    return struct.unpack("f", struct.pack("f", float(number)))[0]


def integer_text(digits, change):
    """An integer literal with a change added, in the same base; None below zero."""
    plain = digits.replace("'", "")
    base = 16 if plain[:2] in ("0x", "0X") else 8 if re.match(r"0\d", plain) else 10
    number = int(plain, base) + change
    if number < 0:
        return None
    return {16: f"{number:#x}", 8: f"0{number:o}", 10: str(number)}[base]


def is_template_argument(source, i):
    """Whether a number stands between a template's angle brackets: another one doesn't compile."""
    tokens, j = source.tokens, i - 1
    while tokens[j].kind in ("name", "number") or tokens[j].text in (",", "*", "&", "::"):
        j -= 1
    k = i + 1
    while tokens[k].kind in ("name", "number") or tokens[k].text in (",", "*", "&", "::"):
        k += 1
    return tokens[j].text == "<" and tokens[j - 1].kind == "name" and \
        tokens[j - 1].end == tokens[j].start and tokens[k].text == ">"


def number_changes(source, i):
    token = source.tokens[i]
    before, after = source.tokens[i - 1], source.tokens[i + 1]
    if is_template_argument(source, i):
        return
    if token.text[:2] in ("0x", "0X"):
        digits = token.text.rstrip("uUlL")
    else:
        digits = token.text.rstrip("fFuUlL")
    suffix = token.text[len(digits):]
    if before.text == "[" and after.text == "]" and is_buffer(source, i - 1):
        # One letter more in a buffer that is never read to its end has no effect.
        yield integer_text(digits, -1) + suffix
    elif "." in digits or re.search(r"[eE]", digits) and digits[:2] not in ("0x", "0X"):
        yield next_float(token.text)
    else:
        for change in (1, -1):
            changed = integer_text(digits, change)
            if changed is not None:
                yield changed + suffix


def is_buffer(source, i):
    """Whether the bracket at i is in the declaration of an array of letters."""
    first, _ = source.statement.get(i, (i, i))
    return first < i - 1 and source.tokens[i - 2].text == "char" and first == i - 2


COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&", "true": "false", "false": "true"}
SIGNS = {"+": "-", "-": "+", "*": "/", "/": "*", "+=": "-=", "/=": "*=", "*=": "/="}
# A flag of OpenCV. The second of two that are added is removed; it is not subtracted.
FLAG = re.compile(r"cv::(\w+::)*[A-Z0-9_]+$")
# Products that depend on the order of their factors, unlike those of numbers.
MATRIX = re.compile(r"Transform|Rotation|Axes|Flipped|Tracker_Inverse|Quaternion|\bQ[xyz]\b|\bC\b")
# Capacities only affect speed.
CAPACITY = re.compile(r"(\.|->)reserve\([^=]*\)$|^constexpr std::size_t \w+_Reserve =")
# In single and in double precision. The square root, rounding and absolute value of a float are the
# same float in both, so those three are not changed.
WIDER = {"acosf": "std::acos", "asinf": "std::asin", "atan2f": "std::atan2"}


def raw_change(text):
    """A raw text without its last letter; blanks behind it rarely mean anything."""
    opened, closed = text.index("(") + 1, text.rindex(")")
    kept = text[opened:closed].rstrip()
    return text[:opened] + kept[:-1] + text[opened + len(kept):] if kept else None


def literal_change(text):
    """A text without its last letter, or another letter in place of a single one."""
    body = text[1:-1]
    letters = re.findall(r"\\.|.", body)
    if not letters:
        return None
    if text[0] == "'" or len(letters) == 1:
        return text[0] + ("_" if letters[-1] != "_" else "-") + text[0]
    return text[0] + "".join(letters[:-1]) + text[0]


def token_changes(source, i):
    """(kind, first token, last token, new text) for changes of single tokens and operands."""
    token = source.tokens[i]
    before = source.tokens[i - 1] if i else None
    statement = source.statement_texts(i)
    in_for = statement[0] == "for"
    if token.kind == "number":
        for new in number_changes(source, i):
            yield "constant", i, i, new
    elif token.kind in ("string", "char"):
        new = literal_change(token.text)
        if new:
            yield "text", i, i, new
    elif token.kind == "raw":
        new = raw_change(token.text)
        if new:
            yield "text", i, i, new
    elif token.text in COMPARISONS and source.spaced(i) and not equal_either_way(source, i):
        yield "comparison", i, i, COMPARISONS[token.text]
    elif token.text in ("true", "false") or token.text in LOGIC and source.spaced(i):
        yield "condition", i, i, LOGIC[token.text]
    elif token.text == "!":
        yield "condition", i, i, ""
    elif token.text == "++" and not in_for:
        yield "sign", i, i, "--"
    elif token.text == "-" and not source.spaced(i) and \
            (before.text in ("(", ",", "=", "return", "?", ":", "{") or before.kind == "op" and
             source.spaced(i - 1)):
        yield "sign", i, i, ""
    elif token.text == "+" and FLAG.match(before.text) and FLAG.match(source.tokens[i + 1].text):
        yield "condition", i, i + 1, ""
    elif token.text in SIGNS and source.spaced(i) and not source.is_text(i):
        yield "sign", i, i, SIGNS[token.text]
    if token.text in ("-", "/", "*") and source.spaced(i):
        first, last = source.operand_before(i), source.operand_after(i)
        if first is not None and last is not None:
            left, right = source.slice(first, i - 1), source.slice(i + 1, last)
            ordered = token.text != "*" or MATRIX.search(left) and MATRIX.search(right)
            even = token.text == "-" and is_even(source, first, last)
            if left != right and ordered and not even:
                yield "operands", first, last, f"{right} {token.text} {left}"
    if token.text == "," and source.group[i] >= 0:
        yield from swapped_arguments(source, i)
    yield from precision_changes(source, i)


def swapped_arguments(source, i):
    """Exchanges two neighbouring arguments that are plain names of similar types."""
    left, right = source.tokens[i - 1], source.tokens[i + 1]
    call = source.tokens[source.group[i]].text == "(" and \
        source.tokens[source.group[i] - 1].kind == "name"
    plain = left.kind == right.kind == "name" and \
        source.tokens[i - 2].text in ("(", ",") and source.tokens[i + 2].text in (")", ",")
    families = [name.text.split("_")[0] if len(name.text) > 1 else "" for name in (left, right)]
    if call and plain and families[0] == families[1]:
        yield "operands", i - 1, i + 1, f"{right.text}, {left.text}"


def in_double(source, i, value):
    """A value whose first operand is widened, so that it is computed in double."""
    last = source.operand_after(i - 1)
    if last is None or source.tokens[last + 1].text not in ("+", "-", "*", "/"):
        return value
    first = source.slice(i, last)
    if not value.startswith(first):
        return value
    return f"static_cast<double>({first})" + value[len(first):]


def precision_changes(source, i):
    token, tokens = source.tokens[i], source.tokens
    if token.text in ("float", "double") and tokens[i + 1].kind == "name" and \
            tokens[i + 2].text == "=":
        wide = "double" if token.text == "float" else "float"
        _, end = source.statement[i]
        if any(tokens[j].text == "," and source.group[j] == source.group[i]
               for j in range(i, end)):
            return  # the type of several variables
        value = source.slice(i + 3, end - 1)
        if re.fullmatch(r"(\w+) \+ \1", value):
            return  # twice a number is exact in every precision
        if token.text == "float" and is_narrowed_at_once(source, i, value):
            return
        if token.text == "float":
            value = re.sub(r"(?<![\w.])(\d+\.\d*)f\b", r"\1", value)
            if tokens[i + 3].text == "static_cast" and source.partner[i + 7] == end - 1:
                value = source.slice(i + 8, end - 2)  # the narrowing goes, too
            else:
                value = in_double(source, i + 3, value)
            yield "precision", i, end - 1, f"{wide} {tokens[i + 1].text} = {value}"
        elif tokens[i - 1].text != "constexpr" and not is_widened_again(source, i, value):
            value = f"static_cast<float>({value})"
            yield "precision", i, end - 1, f"{wide} {tokens[i + 1].text} = {value}"
    if token.text in WIDER and tokens[i + 1].text == "(":
        close = source.partner[i + 1]
        commas = [j for j in range(i + 2, close)
                  if tokens[j].text == "," and source.group[j] == i + 1]
        edges = [i + 1] + commas + [close]
        arguments = [source.slice(a + 1, b - 1) for a, b in zip(edges, edges[1:])]
        wide = ", ".join(f"static_cast<double>({argument})" for argument in arguments)
        yield "precision", i, close, f"{WIDER[token.text]}({wide})"


def statement_changes(source, first, end):
    """Statements that can be removed: calls, assignments, increments, returns after a failure."""
    tokens = source.tokens[first:end]
    texts = [token.text for token in tokens]
    if end >= len(source.tokens) or source.tokens[end].text != ";" or source.in_class(first):
        return
    if texts == ["continue"]:
        yield "statement", first, end, ";"
        return
    # "for (...) call;" and "if (...) call;": only the call is removed.
    while texts and texts[0] in ("for", "if", "else"):
        last = first if texts[0] == "else" else source.partner[first + 1]
        first, texts = last + 1, [token.text for token in source.tokens[last + 1:end]]
    if not texts:
        return
    if texts == ["return", "Code"]:
        yield "statement", first, end, ";"
    elif texts[0] in ("++", "--"):
        yield "statement", first, end, ";"
    elif source.tokens[first].kind == "name" and texts[0] not in ("return", "const", "constexpr",
                                                                  "static_assert", "throw",
                                                                  "using", "extern"):
        # In a declaration a second name follows the first, in a statement an operator.
        if len(texts) > 1 and texts[1] in ("(", ".", "=", "+=", "/=", "*=", "->"):
            yield "statement", first, end, ";"


# ---- What has no effect, and why ----------------------------------------------------------------

# Functions of one number, or of several, that don't depend on the sign of any.
EVEN = {"std::abs", "std::fabs", "fabs", "fabsf", "std::hypot", "std::cos", "cv::norm"}
EVEN_MEMBERS = {"norm", "squaredNorm", "cwiseAbs", "cwiseAbs2", "stableNorm"}


def is_even_argument(source, first, last):
    """Whether tokens first to last are a whole argument of a function that ignores signs, or stand
    in brackets of their own whose norm is taken."""
    tokens = source.tokens
    before, after = tokens[first - 1].text, tokens[last + 1].text
    around = source.group[first]
    if around < 0 or before not in ("(", ",") or after not in (")", ","):
        return False
    if tokens[around - 1].text in EVEN:
        return True
    close = source.partner[around]
    return before == "(" and after == ")" and tokens[around - 1].kind != "name" and \
        tokens[close + 1].text == "." and tokens[close + 2].text in EVEN_MEMBERS


def is_even_use(source, i):
    """Whether the value of the name at i is used in a way that ignores its sign."""
    tokens, name = source.tokens, source.tokens[i].text
    if tokens[i + 1].text == "*" and tokens[i + 2].text == name or \
            tokens[i - 1].text == "*" and tokens[i - 2].text == name:
        return True
    if tokens[i + 1].text == "." and tokens[i + 2].text in EVEN_MEMBERS:
        return True
    first, last = i, i
    while first is not None and tokens[first - 1].text == "*":  # with its factors
        first = source.operand_before(first - 1)
    while last is not None and tokens[last + 1].text == "*":
        last = source.operand_after(last + 1)
    if first is not None and last is not None and is_even_argument(source, first, last):
        return True
    first, last = i, i
    if tokens[i - 1].text == "(" and tokens[i - 2].text == ">" and tokens[i + 1].text == ")":
        first, last = i - 5, i + 1  # static_cast<double>(NAME)
    return tokens[first - 2].text == "std::pow" and \
        tokens[last + 1].text == "," and re.fullmatch(r"2(\.0)?", tokens[last + 2].text)


def uses(source, i, begin=None):
    """Where the name at i, which a declaration declares, is used until its block ends: after the
    declaration, or from begin on."""
    name, around = source.tokens[i].text, source.group[i]
    end = source.partner[around] if around >= 0 else len(source.tokens)
    begin = begin or source.statement[i][1]
    return [j for j in range(begin, end) if source.tokens[j].text == name and
            source.tokens[j - 1].text not in (".", "->")]


def is_even(source, first, last):
    """Whether a difference is only used in a way that ignores its sign, so that its two sides may
    be exchanged: rounding is symmetric, so the other difference is the same but for the sign."""
    if is_even_argument(source, first, last):
        return True
    tokens = source.tokens
    begin, end = source.statement[first]
    ends = last == end - 1 or tokens[last + 1].text == ","
    if tokens[begin].text == "const" and tokens[begin + 1].kind == "name" and \
            tokens[first - 1].text == "=" and ends and \
            (first - 3 == begin + 1 or tokens[first - 3].text == ","):
        found = uses(source, first - 2, last + 1)
        return bool(found) and all(is_even_use(source, j) for j in found)
    return False


def fixed_number(source, text):
    """The number of a literal, or of a constant of this file or beside it; None if neither."""
    text = text.lstrip("-")
    named = re.search(rf"constexpr double {re.escape(text)} = ([-\d.eE]+);", source.text)
    text = named[1] if named else text
    return float(text) if re.fullmatch(r"-?[\d.]+([eE][-+]?\d+)?", text) else None


def equal_either_way(source, i):
    """Whether > and >= (or < and <=) at i make no difference: the greater or smaller of two numbers
    is taken, where it doesn't matter which of two equal ones, or a number that was a float is
    compared with one that no float equals."""
    tokens = source.tokens
    if tokens[i].text not in ("<", "<=", ">", ">="):
        return False
    first, last = source.operand_before(i), source.operand_after(i)
    if last is None and tokens[i + 1].text == "-":
        last = source.operand_after(i + 1)
    if first is None or last is None:
        return False
    left, right = squeeze(source.slice(first, i - 1)), squeeze(source.slice(i + 1, last))
    rest = squeeze(source.text[tokens[last].end:tokens[last].end + 200])
    for one, other in ((left, right), (right, left)):
        if rest.startswith(f"? {one} : {other}") and \
                rest[len(f"? {one} : {other}"):][:1] in (";", ")", ","):
            return True
        if tokens[first - 2].text == "if" and rest.startswith(f") {one} = {other};"):
            return True
        if re.fullmatch(r"static_cast<double>\(\w+\)", one):
            number = fixed_number(source, other)
            if number is not None and in_single(number) != number:
                return True
    return False


# The end of an iteration that has converged: whether the step before is the last one, or this one,
# changes nothing that a double holds.
CONVERGED = re.compile(r"if \(\w+ <=? \d+e-1[2-9]\) break$")


def is_narrowed_at_once(source, i, value):
    """Whether a float declared at i is the same float, and everything made of it is, when it is
    held in a double: its first value has no arithmetic, and it is then only widened, compared,
    passed on as a float, given a float, or part of one operation that is narrowed at once. One
    operation on two floats in double, narrowed to float, is rounded as the operation in float."""
    plain = re.sub(r"\[[^]]*\]|\([^()]*\)", "", value)
    number = re.fullmatch(r"-?([\d.]+)f", value)
    if number:
        if in_single(number[1]) != float(number[1]):
            return False
    elif re.search(r" [-+*/] ", value) or not re.match(r"[A-Z]\w*(\(|\b)", plain):
        return False
    found = uses(source, i + 1)
    return bool(found) and all(is_float_use(source, j) for j in found)


def is_float_use(source, i):
    tokens, name = source.tokens, source.tokens[i].text
    before, after = tokens[i - 1].text, tokens[i + 1].text
    begin, end = source.statement[i]
    statement = squeeze(source.slice(begin, end - 1))
    if after == "=" and (tokens[i + 2].text == "static_cast" and tokens[i + 4].text == "float" or
                         not re.search(r" [-+*/] ", statement)):
        return True  # given a float
    if re.fullmatch(rf"{name} = .* \? .* : .*", statement) and \
            not re.search(r" [-+*/] ", statement):
        return True  # one of several floats is chosen
    if re.fullmatch(rf"\w+ [-+*/]= {name}", statement):
        target = re.escape(statement.split()[0])
        return bool(re.search(rf"\bfloat&? {target}\b", source.text))
    if before == "return" and after in ("/", "*", "+", "-") and end > i and \
            source.operand_after(i + 1) == end - 1:
        return returns_float(source, i)
    if before in COMPARISONS or after in COMPARISONS:
        return True
    around = source.group[i]
    if around < 0 or tokens[around].text != "(":
        return False
    called = tokens[around - 1].text
    whole = before in ("(", ",") and after in (")", ",")
    if called == ">" and whole:
        return tokens[around - 2].text in ("double", "float")
    if called == "sqrtf" and before == "(":
        return after == ")" or source.operand_after(i + 1) == source.partner[around] - 1
    return whole and (called == "std::to_string" or re.match(r"[A-Z]\w*$", called) is not None)


def is_widened_again(source, i, value):
    """Whether a double declared at i holds a float, and each use is an argument beside a double, so
    that the function is the one for doubles whichever of them holds it."""
    if not re.fullmatch(r"static_cast<double>\(\w+\)", value):
        return False
    found = uses(source, i + 1)
    for j in found:
        call = source.group[j]
        beside = [token.text for token in source.tokens[call + 1:source.partner.get(call, call)]]
        other = [text for text in beside if text not in (",", source.tokens[j].text)]
        if not (call >= 0 and source.tokens[call - 1].text.startswith("std::") and
                len(beside) == 3 and len(other) == 1 and
                re.search(rf"\bdouble {re.escape(other[0])}\b", source.text)):
            return False
    return bool(found)


def returns_float(source, i):
    """Whether the function around i returns a float."""
    def head(brace):
        return source.tokens[source.statement.get(brace - 1, (brace, brace))[0]].text

    around = source.group[i]
    while source.group[around] >= 0 and head(source.group[around]) != "namespace":
        around = source.group[around]
    return head(around) == "float"


def unread_arguments(source):
    """The arguments for parameters without a name, which no function can read."""
    unread = set()
    for i, token in enumerate(source.tokens):
        if token.text != "(" or source.tokens[i - 1].kind != "name":
            continue
        for place in UNNAMED.get(source.tokens[i - 1].text, ()):
            edges = [i] + [j for j in range(i + 1, source.partner[i])
                           if source.tokens[j].text == "," and source.group[j] == i]
            edges.append(source.partner[i])
            if place + 1 < len(edges):
                unread |= set(range(edges[place] + 1, edges[place + 1]))
    return unread


def unnamed_parameters(paths):
    """For each function that has parameters without names in its only definition: their places."""
    places, seen = {}, collections.Counter()
    for path in paths:
        text = (TOP / path).read_text()
        for name, parameters in re.findall(
                r"(?m)^[\w:<>&* ]*?\b([A-Z]\w*)\(([^()]*)\) (?:const )?\{", text):
            seen[name] += 1
            depthless = re.sub(r"<[^<>]*(<[^<>]*>)?[^<>]*>", "", parameters)
            missing = [place for place, one in enumerate(depthless.split(","))
                       if re.search(r"/\*\s*\w+\s*\*/\s*$", one.strip())]
            if missing:
                places[name] = missing
    return {name: where for name, where in places.items() if seen[name] == 1}


UNNAMED = {}  # filled by read_definitions


def read_definitions(paths):
    UNNAMED.update(unnamed_parameters(paths))


# ---- All changes of a file ----------------------------------------------------------------------

def make_mutant(source, kind, first, last, new):
    start, end = source.tokens[first].start, source.tokens[last].end
    text = source.text
    # Of a text of many lines only the changed one identifies the change.
    shared = 0
    if source.tokens[first].kind == "raw":
        shared = len(os.path.commonprefix([text[start:end], new]))
    line = text.count("\n", 0, start + shared) + 1
    from_line = text.rfind("\n", 0, start + shared) + 1
    to_line = text.find("\n", end)
    before = squeeze(text[from_line:to_line])
    after = squeeze(text[from_line:max(start, from_line)] +
                    new[max(0, from_line - start):] + text[end:to_line])
    if after in (";", ""):
        after = "(nothing)"
    if squeeze(text[start:end]) == "return Code;" and before == "return Code;":
        # There are many such lines. They are identified by the call that the code came from.
        call = source.leaving(*source.statement[first])
        before, after = f"{call} {{ return Code; }}", f"{call} {{}}"
    key = (source.path, before, after)
    return Mutant(source.path, line, kind, start, end, new, before, after, key)


def unreachable():
    """Statements that never fail, according to the list of the coverage step."""
    return {(block["file"], block["line"])
            for block in read_blocks(*UNREACHABLE)}


def mutants_of(path, never_fails):
    source = Source(path)
    skipped = {i for first, end in source.statements for i in range(first, end)
               if source.tokens[first].text in ("static_assert", "using", "extern", "template") or
               CAPACITY.search(source.slice(first, end - 1)) or
               CONVERGED.fullmatch(source.slice(first, end - 1))} | unread_arguments(source)
    found = []
    for i in range(len(source.tokens)):
        if i not in skipped and i in source.statement:
            found += [make_mutant(source, *change) for change in token_changes(source, i)]
    for first, end in source.statements:
        # The return after a failure that never happens cannot be noticed.
        if first not in skipped and (path, source.leaving(first, end)) not in never_fails:
            found += [make_mutant(source, *change)
                      for change in statement_changes(source, first, end)]
    return sorted(set(found), key=lambda mutant: (mutant.start, mutant.kind, mutant.new))
