"""Random sequences of commands for tlk message. A seed and a number make the same one every time."""

import random
import re
from xml.sax.saxutils import escape, quoteattr

NAMES = ["Size", "Pen", "Ink", "Colour", "Data", "Status", "\xe9t\xe9"]
ATTRIBUTES = ["k", "Id", "unit", "\xe9"]
URIS = ["urn:a", "urn:b", "http://c/?d&e"]
WORDS = ["a", "red", "caf\xe9", "\x80 5", "3", "007", "b c", "x > y", "1 < 2", "R&D", "1\n\t2", '"so"', "it's"]
VALUES = WORDS + ["", " ", " a ", "\ttab", "two\nlines", "\r\n", "]]>", "<b/>", "\x01", "TRUE"]
NUMBERS = ["0", "1", "-1", "7", "2147483647"]
ELEMENT_TESTS = NAMES + ["*", "*", "Attribute_List", "node()"]
AXES = ["child::", "descendant::", "descendant-or-self::", "following-sibling::", "self::",
        "preceding-sibling::", "following::", "preceding::", "ancestor::", "ancestor-or-self::"]
OTHER_STEPS = [".", "..", "text()", "comment()", "processing-instruction()", "@k", "@Id", "@*",
               "@xml:lang", "@xml:space", "@\xe9", "attribute::unit"]
STARTS = ["", "", "", "//", "/*/", "/", "./", "../", ".//", "//Data/", "//Attribute_List/"]
OPERATORS = ["=", "!=", "<", "<=", ">", ">="]
BAD_PATHS = ["Size[", "Size|", "Size]", "Pen[foo()]", "p:Size", "", "Size]", "1", "'a'", "count(*)", "//", "@",
             "$v", "true()", "xml:lang", "namespace-uri(*)"]
BAD_TEXTS = ["", "text", "<a>", "<a/><b/>", "<a b='1' b='2'/>", "<p:a/>", "<a p:b=''/>", "</a>",
             "<a>&nbsp;</a>", "<a b='<'/>", "<!DOCTYPE a><a/>", "<a xmlns:p=''/>", "<a>]]></a>",
             "<a>\x01</a>", "<a>&#1;</a>", "<a><!-- -- --></a>", "<?xml?><a/>", "\x00", "<a b=1/>"]
# Left out, because the builds read it differently: blanks at the ends of a text, and texts of nothing
# else unless they are between two tags; and a CDATA section next to another.
UNALIKE = re.compile(r"(?<![>\s])\s+(?=<|$)|(?:^|(?<=>))\s+(?=[^<\s]|$)"
                     r"|(?<=\]\]>)\s*<!\[CDATA\[.*?\]\]>")
# What leads out of a list, which an entry before may have taken out of the message.
OUTWARDS = {r"(^|[\[(,=<>| ])/": r"\1./", r"\.\.": ".", r"ancestor(-or-self)?::": "self::"}

# What Wine's DOM answers wrongly, and what is asked instead.
MISREAD = {r"@\*": "@*[name()!='xmlns']", r"//\.(?!\.)": "/.", r"preceding::(\*|node\(\))": "preceding::Size",
           r"(?<!/)/(?=\xe9)": "/child::", r"(@[^/]*|attribute::unit)/following::": r"\1/../following::"}


# The commands: a word in capitals stands for a random one of its kind.
BEGINNINGS = ["create VALUE NUMBER NUMBER", "create VALUE NUMBER NUMBER NUMBER VALUE",
              "load MESSAGE", "load MESSAGE"]
CHANGES = ["append ELEMENT", "append ELEMENT", 'append ""', "status VALUE VALUE",
           "conference VALUE NUMBER VALUE COUNT", "participant VALUE NUMBER NUMBER NUMBER VALUE",
           "add-attributes LIST", "add-attributes LIST", "delete-attributes LIST",
           "update-attributes LIST", "add-attributes-at-paths LIST PATHS",
           "delete-attributes-at-paths PATHS", "update-attributes-at-paths LIST PATHS",
           "set-node-attribute PATH NAME VALUE", "set-node-attribute PATH xmlns URI", "set-length"]
READINGS = ["node-text PATH", "node PATH text", "node PATH xml", "attribute PATH NAME", "type",
            "receiver", "data", "parse MESSAGE"]
WORD_KINDS = {
    "VALUE": lambda self: self.pick(VALUES), "NUMBER": lambda self: self.pick(NUMBERS),
    "COUNT": lambda self: self.pick(["0", "4294967295"]), "URI": lambda self: self.pick([*URIS, ""]),
    "PATH": lambda self: self.path(), "NAME": lambda self: self.attribute_name(),
    "MESSAGE": lambda self: self.message(), "ELEMENT": lambda self: self.document(self.pick(NAMES), 3),
    "LIST": lambda self: self.listing("Attribute_List"), "PATHS": lambda self: self.listing("Path_List")}


class Sequence:
    """One sequence of commands, which depends on nothing that was said before it."""

    def __init__(self, seed, number):
        self.random = random.Random(f"{seed}/{number}")
        self.pick = self.random.choice
        self.text = ""
        self.say(self.pick(BEGINNINGS))
        self.say("parse MESSAGE")
        for _ in range(self.random.randrange(3, 12)):
            if self.chance(67):
                self.say(self.pick(CHANGES))
                self.say("xml")
            else:
                self.say(self.pick(READINGS))
        self.say("set-length")
        self.say("xml")

    def say(self, form):
        words = [quote(WORD_KINDS[word](self)) if word in WORD_KINDS else word for word in form.split()]
        self.text += " ".join(words) + "\n"

    def chance(self, percent):
        return self.random.randrange(100) < percent

    def several(self, make):
        return "".join(make(at) for at in range(self.random.randrange(4)))

    # Documents.

    def message(self):
        before = self.pick(["", "", '<?xml version="1.0"?>'])
        if self.chance(20):
            return before + self.document("TLK_Message", 3)
        body = self.listing("Attribute_List") + self.content(2, {})
        body = f'<To Id="{self.pick(NUMBERS)}"/><Data>{body}</Data>'
        return before + self.document("TLK_Message", 0, lambda scope: body)

    def document(self, root, depth, content=None):
        if self.chance(4):
            return self.pick(BAD_TEXTS)
        around = ["", "", "", "<!-- c -->", "<?i d?>", "\n"]
        return self.pick(around) + self.element(root, {}, depth, content) + self.pick(around)

    def listing(self, name):
        """An attribute list or a path list, seldom a faulty one."""
        if self.chance(3):
            return self.pick(BAD_TEXTS)
        path = lambda at: replaced(replaced(self.path(), OUTWARDS if at > 0 else {}), MISREAD)
        make = {"Path_List": lambda at, scope: f"<P>{escape(path(at))}</P>",
                "Attribute_List": lambda at, scope: self.element(self.pick(NAMES), scope, 2)}[name]
        text = self.element(name, {}, 0, lambda scope: self.several(lambda at: make(at, scope)),
                            plain=self.chance(70))
        return f"<l xmlns:q='urn:q'>{text}</l>" if self.chance(15) else text

    def element(self, name, scope, depth, content=None, plain=False):
        """An element with what `content` makes in it; `scope` knows the prefixes declared above."""
        scope = dict(scope)
        attributes = {}
        while not plain and self.chance(35):
            attributes[self.attribute_name(scope)] = self.pick(VALUES)
        if not plain and self.chance(2):
            attributes.update((f"k{i}", "v") for i in range(40))
        if not plain and self.chance(15):
            declared = self.pick(["xmlns", "xmlns:p", "xmlns:q"])
            scope[declared[6:]] = attributes[declared] = self.pick(
                [*URIS, ""] if declared == "xmlns" else URIS)
        prefixes = [prefix for prefix in scope if prefix]
        if prefixes and not plain and self.chance(30):
            name = f"{self.pick(prefixes)}:{name}"
        written = list(attributes.items())
        self.random.shuffle(written)
        tag = name + "".join(f" {key}={value_in_quotes(value)}" for key, value in written)
        inside = content(scope) if content else self.content(depth, scope)
        return f"<{tag}>{inside}</{name}>" if inside or self.chance(20) else f"<{tag}/>"

    def attribute_name(self, scope=None):
        prefixes = [p for p in (scope if scope is not None else ["p", "q", "u"]) if p]
        if prefixes and self.chance(20):
            return f"{self.pick(prefixes)}:k"
        if self.chance(15):
            return self.pick(["xml:lang", "xml:lang", "xml:space"])
        if scope is None and self.chance(10):
            return self.pick(["", "1k", "a b", "xmlns:p", ":k", "p:"])
        return self.pick(ATTRIBUTES)

    def content(self, depth, scope):
        return UNALIKE.sub("", self.several(lambda at: self.piece(depth, scope)))

    def piece(self, depth, scope):
        if depth > 0 and self.chance(50):
            if self.chance(3):
                return "<d>" * 40 + "<Ink/>" + "</d>" * 40
            return self.element(self.pick(NAMES), scope, depth - 1)
        return self.pick([
            escape(self.pick(WORDS)), escape(self.pick(WORDS)), escape(self.pick(WORDS)),
            "&#233;", "&gt;", "x&#9;y", "x&#10;y", "&#x41;", "&#160;", "&quot;", "x>y",
            "<![CDATA[1 < 2 & 3]]>", "<!-- a -> b -->", "<?i d?>", " ", "\n\t"])

    # Paths.

    def path(self):
        if self.chance(6):
            return self.pick(BAD_PATHS)
        path = self.pick(STARTS) + "/".join(self.step() for _ in range(self.pick([1, 1, 1, 2, 3])))
        if self.chance(5):
            path = f"({path})[{self.pick(['1', '2', 'last()'])}]"
        path = f"{path} | {self.step()}" if self.chance(5) else path
        return replaced(path, MISREAD)

    def step(self):
        if self.chance(20):
            return self.pick(OTHER_STEPS)
        axis = self.pick(AXES) if self.chance(20) else ""
        return axis + self.pick(ELEMENT_TESTS) + (f"[{self.predicate()}]" if self.chance(35) else "")

    def predicate(self):
        sub = self.pick(NAMES + ["*", ".", "..", "@k", "@*", "text()", "//Size", "/*", "//*"])
        sign = self.pick(OPERATORS)
        word = value_in_quotes(self.pick(WORDS)).replace("&quot;", "")
        number = self.pick("0123")
        return self.pick([
            "1", "2", "last()", f"position(){sign}{number}", sub, f"not({sub})", f"{sub}{sign}{word}",
            f"{sub}{sign}{number}", f"count({sub}){sign}{number}", f"string-length({sub}){sign}4",
            f"contains({sub},'\xe9')", f"starts-with(name({self.pick(['', sub])}),'S')",
            f"substring-before({sub},'f'){sign}'ca'", f"substring-after({sub},'\xe9')=''", "lang('en')",
            f"translate({sub},'caf','CAF')='CAF\xe9'", f"normalize-space({sub})='b c'",
            f"namespace-uri({sub})=''", f"local-name({sub})='Size'", f"sum({sub}){sign}3",
            f"({sub}){sign}true()", f"boolean({sub})", f"concat(name(),{sub})='Sizea'",
            f"{sub}{sign}{self.pick(NAMES)}", f"number({sub}) mod 2=1", f"{sub} or {number}{sign}1"])


def replaced(path, replacements):
    for asked, instead in replacements.items():
        path = re.sub(asked, instead, path)
    return path


def value_in_quotes(value):
    """A value as a document or a path holds it. Some breaks are written as they are."""
    return quoteattr(value, {"\r": "&#13;"})


def quote(word):
    """A word as the commands take it."""
    escaped = "".join(c if " " <= c <= "~" and c not in '"\\' else
                      "\\" + c if c in '"\\' else f"\\x{ord(c):02X}" for c in word)
    return f'"{escaped}"' if escaped != word or " " in word or not word else word
