"""The generated ".reg" cases of the registry editor comparison.

Each case is one file that writes only under its own key, HKEY_CURRENT_USER\\Software\\RegDiff\\Case<N>
({K} in the templates below). A case is a header, the key line, a few lines of one behaviour
class, and a tail of good lines that shows whether a bad line cost more than itself.
The set is the same on every run (a fixed seed), so that the oracle's answers can be cached.
"""

import random

V5 = "Windows Registry Editor Version 5.00"
V4 = "REGEDIT4"
EOF = object()  # a case whose last line has no line end

# Lines of each behaviour class; each entry is one snippet (a list of lines).
SNIPPETS = {
    "string": [
        ['"s"="plain"'], ['"s"=""'], ['"s"="a \\"q\\" b"'], ['"s"="back\\\\slash"'],
        ['"s"="x\\ny\\rz"'], ['"s"="x\\ty\\az"'], ['"s"="x\\0y"'], ['"s"="x\\"'],
        ['"s"="foo"bar"'], ['"s"="foo" '], ['"s"="foo";c'], ['"s"="foo" ;c'], ['"s"="foo"\t;c'],
        ['"s"="foo" x'], ['"s"="foo""'], ['"s"="unterminated'], ['"s"="x\\'], ['"s"="x"\\'],
        ['"s" = "sp"'], ['"s"=\t"tab"'], ['"s" ="x"'], ['"s"= "x"'], ['"s"="semi;colon"'],
        ['"s"="[bracket]"'], ['"s"="eq=sign"'], ['"s"="x" "y"'], ['"s"=x'], ['"s"='],
        ['"s"', ], ['"s"="\xe9t\xe9"'], ['"s"="a\\\\"'], ['"s"="\\\\\\""'],
    ],
    "name": [
        ['"a\\"b"="1"'], ['"c\\\\d"="2"'], ['"e\\nf"="3"'], ['"g\\x"="4"'], ['"""="5"'],
        ['""="6"'], ['"h"i"="7"'], ['@="d"'], [' @="d"'], ['@ = "d"'], ['@=dword:1'], ['@=-'],
        ['@@="d"'], ['"n m"="8"'], ['"n;m"="9"'], ['"[n]"="10"'], ['"n"x="11"'], ['"\xe9"="12"'],
        ['"n" "m"="13"'], ['"n=m"="14"'], ['"unterminated=1'],
    ],
    "dword": [
        ['"d"=dword:1'], ['"d"=dword:00000001'], ['"d"=dword:ffffffff'], ['"d"=dword:FFFFFFFF'],
        ['"d"=dword:123456789'], ['"d"=dword:0000000001'], ['"d"=dword:'], ['"d"=dword: 1'],
        ['"d"=dword:\t1'], ['"d"=dword:1 '], ['"d"=dword:1;c'], ['"d"=dword:1 ;c'],
        ['"d"=DWORD:1'], ['"d"=Dword:1'], ['"d"=dword:0x1'], ['"d"=dword:-1'], ['"d"=dword:+1'],
        ['"d"=dword:1 2'], ['"d"=dword:g'], ['"d"=dword : 1'], ['"d"=dword:1,'], ['"d"=dword:1x'],
        ['"d"=dword:1\\', '"after"="1"'], ['"d"=dword: '], ['"d"=dword:abcdef01'],
    ],
    "hextype": [
        ['"h"=hex:01'], ['"h"=HEX:01'], ['"h"=Hex:01'], ['"h"=hex(0):01'], ['"h"=hex(1):61,00'],
        ['"h"=hex(2):25,00,41,00,25,00,00,00'], ['"h"=hex(3):01'], ['"h"=hex(4):01,00,00,00'],
        ['"h"=hex(4):01'], ['"h"=hex(5):00,00,00,01'], ['"h"=hex(6):61,00'],
        ['"h"=hex(7):61,00,00,00,62,00,00,00,00,00'], ['"h"=hex(8):01'], ['"h"=hex(9):01'],
        ['"h"=hex(a):01'], ['"h"=hex(A):01'], ['"h"=hex(b):01,00,00,00,00,00,00,00'],
        ['"h"=hex(B):01'], ['"h"=hex(100):01'], ['"h"=hex(ffffffff):01'],
        ['"h"=hex(123456789):01'], ['"h"=hex():01'], ['"h"=hex( 1):61,00'], ['"h"=hex(1 ):61,00'],
        ['"h"=hex(0x1):61,00'], ['"h"=hex(+1):61,00'], ['"h"=hex(-1):01'], ['"h"=hex (1):61,00'],
        ['"h"=hex(1) :61,00'], ['"h"=hex(01):61,00'], ['"h"=hex(:01'], ['"h"=hex(7)61,00'],
        ['"h"=hex'], ['"h"=hex(1)'], ['"h"=he'], ['"h"=hex(2x):01'], ['"h"=str:"x"'],
        ['"h"=hex(0):'], ['"h"=hex:'], ['"h"=hex :01'], ['"h"=hex(\t1):61,00'],
    ],
    "hexbytes": [
        ['"b"=hex:1'], ['"b"=hex:012'], ['"b"=hex:0001'], ['"b"=hex:123'], ['"b"=hex:fff,01'],
        ['"b"=hex:01,,02'], ['"b"=hex: 01, 02'], ['"b"=hex:01 ,02'], ['"b"=hex:01,'],
        ['"b"=hex:zz'], ['"b"=hex:01 02'], ['"b"=hex:0x1'], ['"b"=hex:0X1'], ['"b"=hex:-1'],
        ['"b"=hex:-0'], ['"b"=hex:+1'], ['"b"=hex:0x'], ['"b"=hex:\t01'], ['"b"=hex:01\t,02'],
        ['"b"=hex:01,\t02'], ['"b"=hex:01;c'], ['"b"=hex:01 ;c'], ['"b"=hex:01, ;c'],
        ['"b"=hex:01,02 '], ['"b"=hex:01,123456789,02'], ['"b"=hex:FF,Ab,cD'], ['"b"=hex:,01'],
        ['"b"=hex:01,02,;c'], ['"b"=hex:01;c,02'], ['"b"=hex:g1'], ['"b"=hex:1g'],
    ],
    "continuation": [
        ['"c"=hex:01,\\', '  02'], ['"c"=hex:01,02\\', '03'], ['"c"=hex:01,\\', '', '  02'],
        ['"c"=hex:01,\\', '  ', '  02'], ['"c"=hex:01,\\', '\t', '  02'],
        ['"c"=hex:01,\\', ';c', '  02'], ['"c"=hex:01,\\', '  ;c', '  02'],
        ['"c"=hex:01,\\', '#c', '  02'], ['"c"=hex:01,0\\', '  2'], ['"c"=hex:01,\\ ', '  02'],
        ['"c"=hex:01,\\', '\t02'], ['"c"=hex:01,\\', '  02,\\', '  03'],
        ['"c"=hex:01,\\', '"s"="swallowed"'], ['"c"=hex:01,\\', '[{K}\\Swallowed]', '"s"="1"'],
        ['"c"=hex:01\\', '[{K}\\NotSwallowed]', '"s"="1"'], ['"c"=hex:01,\\', '  ,02'],
        ['"c"=hex:01,\\', '  02 ,03'], ['"c"=hex:01 \\', '  02'], ['"c"=hex:01,\\;c', '  02'],
        ['"c"=hex:01,;c\\', '  02'], ['"c"=hex:\\', '  02'], ['"c"=hex:01,\\', '  \\', '  02'],
        ['"c"=hex:01,\\', '  ,\\', '  02'], ['"c"=hex:01, \\', '  02'], ['"c"=hex: \\', '  02'],
        ['"c"=hex:01,\\02', '  03'], ['"c"=hex:01,\\', '  02,\\ ', '  03'],
        ['"c"=hex:01,\\', '  02\\', '"s"="1"'], ['"c"=hex:01,\\', '  02 ;c'],
        ['"c"=hex(7):61,00,\\', '  00,00,\\', '', '  62,00,00,00,00,00'],
        ['"c"=hex(2):25,00,\\', ';comment', '  41,00,25,00,00,00'], ['"c"="x",\\', '  "y"'],
        ['"c"=dword:1,\\', '  2'], ['"c"=hex:01,\\', '@="swallowed"'],
        ['"c"=hex:01,\\', '  02,\\', EOF], ['"c"=hex:01,\\', EOF], ['"c"=hex:01,\\', '', EOF],
        ['"c"=hex:01,\\', '  ;c', EOF], ['"c"=hex:01\\', EOF],
    ],
    "stringhex": [
        ['"x"=hex(7):61,00,62,00'], ['"x"=hex(7):61,00,00,00'], ['"x"=hex(7):00,00'],
        ['"x"=hex(7):'], ['"x"=hex(1):61,00'], ['"x"=hex(1):61,00,00,00'], ['"x"=hex(1):00,00'],
        ['"x"=hex(1):'], ['"x"=hex(2):41,00'], ['"x"=hex(2):'], ['"x"=hex(2):41,00,00,00,00,00'],
        ['"x"=hex(7):61,00,00,00,62,00'], ['"x"=hex(1):41,42,43,44'],
        ['"x"=hex(2):e9,00,e8,00'], ['"x"=hex(7):41,00,00,00,00,00,00,00'],
    ],
    "delete": [
        ['"a"=-'], ['"a"= -'], ['"a"=- '], ['"a"=  -  '], ['"a"=-;c'], ['"a"=- ;c'],
        ['"a"=-\t;c'], ['"a"=-x'], ['"a"=- x'], ['"a"=--'], ['"a"\t=\t-'], ['@=-'],
        ['"none"=-'], ['"a"=-\\'], ['"a"="-"'],
    ],
    "keys": [
        ['[{K}\\A]', '"k"="1"'], ['  [{K}\\A]', '"k"="1"'], ['[{K}\\A] ', '"k"="1"'],
        ['[{K}\\A];c', '"k"="1"'], ['[{K}\\A] ;c', '"k"="1"'], ['[{K}\\A', '"k"="1"'],
        ['[{K}\\A]x', '"k"="1"'], ['[ {K}\\A]', '"k"="1"'], ['[{K}\\A ]', '"k"="1"'],
        ['[{K}\\A\\]', '"k"="1"'], ['[{K}\\\\A]', '"k"="1"'], ['[{K}\\A]]', '"k"="1"'],
        ['[{K}\\A]x]', '"k"="1"'], ['[{K}\\A\\B]', '"k"="1"'], ['[{KL}\\A]', '"k"="1"'],
        ['[HKEY_BOGUS\\{R}\\A]', '"k"="1"'], ['[HKCU\\{R}\\A]', '"k"="1"'], ['[]', '"k"="1"'],
        ['[-]', '"k"="1"'], ['[\t{K}\\A]', '"k"="1"'], ['\t[{K}\\A]', '"k"="1"'],
        ['[{K}\\A[x]', '"k"="1"'], ['[{K}\\A;c]', '"k"="1"'], ['[{K}\\A\t]', '"k"="1"'],
        ['[{K}\\ A]', '"k"="1"'], ['[{K}\\A/B]', '"k"="1"'], ['[HKEY_CURRENT_USERX\\{R}\\A]', '"k"="1"'],
        ['[HKEY_CURRENT_USE\\{R}\\A]', '"k"="1"'], ['[ HKEY_BOGUS\\{R}\\A]', '"k"="1"'],
        ['[{K}\\\xe9]', '"k"="1"'], ['[{K}\\A', '[{K}\\B]', '"k"="1"'],
    ],
    "deletekey": [
        ['[{K}\\A]', '"k"="1"', '[-{K}\\A]', '"k"="2"'],
        ['[{K}\\A\\B]', '"k"="1"', '[-{K}\\A]', '"k"="2"', '[{K}\\A]', '"k"="3"'],
        ['[{K}\\A]', '[ -{K}\\A]', '"k"="2"'], ['[{K}\\A]', '[-{K}\\A] ', '"k"="2"'],
        ['[{K}\\A]', '[-{K}\\A', '"k"="2"'], ['[{K}\\A]', '[-{K}\\Z]', '"k"="2"'],
        ['[{K}\\A]', '[- {K}\\A]', '"k"="2"'], ['[{K}\\A]', '  [-{K}\\A]', '"k"="2"'],
        ['[{K}\\A]', '[-{K}\\A];c', '"k"="2"'], ['[{K}\\A]', '[--{K}\\A]', '"k"="2"'],
        ['[{K}\\A]', '[-{KL}\\A]', '"k"="2"'], ['[{K}\\A]', '[-{K}\\A\\]', '"k"="2"'],
        ['[-{K}]', '"k"="2"', '[{K}\\B]', '"k"="3"'],
    ],
    "comments": [
        [';c'], ['  ;c'], ['#c'], ['  #c'], ['//c'], ['\t;c'], [';'], ['; "s"="x"'],
        ['# "s"="x"'], ['junk'], ['  junk'], ['='], ['"'], ['\\'], ['-'], ['@'],
    ],
    "blanks": [
        [''], ['  '], ['\t'], ['', '', ''], [' \t '],
    ],
    "indent": [
        [' "i"="1"'], ['\t"i"="1"'], ['  "i"=dword:1'], ['  "i"=hex:01,\\', '  02'],
        ['  "i"=-'], ['\v"i"="1"'], ['\f"i"="1"'],
    ],
    "header": [],  # made by HEADERS below
}

# Header lines: (text, in which encodings). {BLANK} marks a file whose first line is blank.
HEADERS = [
    V5, V4, " " + V5, "\t" + V4, V5 + " ", V4 + " ", V5.lower(), "REGEDIT", V4 + ";c",
    V4 + "x", V5 + "x", "Windows Registry Editor Version 5.0", "  " + V4, V5 + "\t",
]


# Lines after which the editor stops reading the file (a string holding "\\0" or ending in a
# "\\" that escapes its closing quote): our reader loses that line only, on purpose.
STOPS = ('\\0', '="x\\', '="x"\\')
# Strings that the in-memory store of the comparison cannot hold: it keeps them in the code page.
WIDE = ("41,42,43,44",)


def departure(lines):
    """Why a case's lines may differ from the editor on purpose, or None."""
    text = "".join(l for l in lines if l is not EOF)
    if any(s in text for s in STOPS):
        return "stop"
    if any(s in text for s in WIDE):
        return "wide"
    return None


def render(lines, eol):
    out = []
    for i, line in enumerate(lines):
        if line is EOF:
            break
        last = i + 1 == len(lines) or lines[i + 1] is EOF
        out.append(line + ("" if last and lines[-1] is EOF else eol))
    return "".join(out)


def encode(text, unicode):
    if unicode:
        return b"\xff\xfe" + text.encode("utf-16-le")
    return text.encode("cp1252", errors="replace")


def make_case(n, lines, header, eol, unicode, leading_blank=False):
    key = "HKEY_CURRENT_USER\\Software\\RegDiff\\Case%d" % n
    rel = "Software\\RegDiff\\Case%d" % n
    body = [header] if not leading_blank else ["", header]
    body += ["", "[" + key + "]", '"a"="x"', '"before"="0"']
    body += [l if l is EOF else l.replace("{KL}", key.lower()).replace("{K}", key)
             .replace("{R}", rel) for l in lines]
    if lines and lines[-1] is EOF:
        body = body[:-1] + [EOF]
    else:
        body += ['"after"="1"', "[" + key + "\\Tail]", '"tail"="2"']
    return encode(render(body, EOLS[eol]), unicode)


EOLS = {"crlf": "\r\n", "lf": "\n", "cr": "\r"}


def generate(quick=False):
    """[(class, description, bytes)]; `quick` gives a small representative subset."""
    rng = random.Random(14)
    specs = []
    # Every snippet alone, in a UTF-16 file with CRLF and in an 8-bit one with LF or CR.
    for cls, snippets in SNIPPETS.items():
        for i, snippet in enumerate(snippets):
            specs.append((cls, snippet, V5, "crlf", True, False))
            specs.append((cls, snippet, V4, "lf" if i % 2 else "cr", False, False))
            specs.append((cls, snippet, V4, "crlf", False, False))
            specs.append((cls, snippet, V5, "cr" if i % 2 else "lf", True, False))
    for header in HEADERS:
        for unicode in (True, False):
            for eol in EOLS:
                specs.append(("header", ['"h"="1"'], header, eol, unicode, False))
        specs.append(("header", ['"h"="1"'], header, "crlf", True, True))
    # Combinations: a few snippets of any classes in one file.
    pool = [(cls, s) for cls, snippets in SNIPPETS.items() for s in snippets if EOF not in s]
    for _ in range(1600):
        picked = rng.sample(pool, rng.randint(2, 5))
        lines = []
        for _, s in picked:
            lines += s
        eol = rng.choice(["crlf", "crlf", "lf", "cr"])
        unicode = rng.random() < 0.6
        header = V5 if rng.random() < 0.7 else V4
        specs.append(("mixed", lines, header, eol, unicode, False))
    if quick:
        specs = [s for i, s in enumerate(specs) if s[0] != "mixed" and i % 9 == 0]
    cases = []
    for n, (cls, lines, header, eol, unicode, lead) in enumerate(specs):
        desc = "%s %s %s%s: %r" % ("u16" if unicode else "8bit", eol, header[:12],
                                   " (blank first)" if lead else "", lines)
        if departure(lines):
            cls = "%s-%s" % (cls, departure(lines))
        cases.append((cls, desc, make_case(n, lines, header, eol, unicode, lead)))
    return cases
