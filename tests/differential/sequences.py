# Random sequences of commands for tlk message. A seed and a number make the same one every time.

import random
import re
from xml.sax.saxutils import escape, quoteattr

BAD_TEXTS = ["", "text", "<a>", "<a/><b/>", "<a b='1' b='2'/>", "<p:a/>", "<a p:b=''/>", "</a>",
             "<a>&nbsp;</a>", "<a b='<'/>", "<!DOCTYPE a><a/>", "<a xmlns:p=''/>", "<a>]]></a>",
             "<a>\x01</a>", "<a>&#1;</a>", "<a><!-- -- --></a>", "<?xml?><a/>", "\x00", "<a b=1/>"]
NAMES = "Size Pen Ink Colour Data Status \xe9t\xe9".split()
WORDS = ["a", "red", "caf\xe9", "\x80 5", "3", "007", "b c", "x > y", "1 < 2", "R&D", "1\n\t2", '"so"', "it's"]
URIS = ["urn:a", "urn:b", "http://c/?d&e"]

# What may stand for a word in braces; for those that are not here, a method of that name makes it.
GRAMMAR = {
    "BEGINNING": ["create {VALUE} {NUMBER} {NUMBER}", "create {VALUE} {NUMBER} {NUMBER} {NUMBER} {VALUE}",
                  "load {MESSAGE}", "load {MESSAGE}"],
    "CHANGE": ["append {ELEMENT}", "append {ELEMENT}", 'append ""', "status {VALUE} {VALUE}",
               "conference {VALUE} {NUMBER} {VALUE} {COUNT}", "set-length",
               "participant {VALUE} {NUMBER} {NUMBER} {NUMBER} {VALUE}",
               "add-attributes {LIST}", "add-attributes {LIST}", "delete-attributes {LIST}",
               "update-attributes {LIST}", "add-attributes-at-paths {LIST} {PATHS}",
               "delete-attributes-at-paths {PATHS}", "update-attributes-at-paths {LIST} {PATHS}",
               "set-node-attribute {PATH} {KEY} {VALUE}", "set-node-attribute {PATH} xmlns {URI}"],
    "READING": ["node-text {PATH}", "node {PATH} text", "node {PATH} xml", "attribute {PATH} {KEY}", "type",
                "receiver", "data", "parse {MESSAGE}"],
    "VALUE": [*WORDS, "", " ", " a ", "\ttab", "two\nlines", "\r\n", "]]>", "<b/>", "\x01", "TRUE"],
    "NUMBER": ["0", "1", "-1", "7", "2147483647"],
    "COUNT": ["0", "4294967295"],
    "URI": [*URIS, ""],
    "AROUND": ["", "", "", "<!-- c -->", "<?i d?>", "\n"],
    "TEXT": [*map(escape, WORDS * 3), *["&#233;", "&gt;", "x&#9;y", "x&#10;y", "&#x41;", "&#160;", "&quot;",
             "x>y", "<![CDATA[1 < 2 & 3]]>", "<!-- a -> b -->", "<?i d?>", " ", "\n\t"] * 3],
    "PLAIN_PATH": ["{STEPS}"] * 16 + ["({STEPS})[1]", "({STEPS})[last()]", "{STEPS} | {STEP}",
                                      "{BAD_PATH}", "{BAD_PATH}"],
    "BAD_PATH": ["Size[", "Size|", "Size]", "Pen[foo()]", "p:Size", "", "1", "'a'", "count(*)", "//", "@",
                 "$v", "true()", "xml:lang", "namespace-uri(*)"],
    "STEPS": ["{START}{STEP}"] * 3 + ["{START}{STEP}/{STEP}", "{START}{STEP}/{STEP}/{STEP}"],
    "START": ["", "", "", "//", "/*/", "/", "./", "../", ".//", "//Data/", "//Attribute_List/"],
    "STEP": ["{TEST}"] * 8 + ["{TEST}[{PREDICATE}]", "{OTHER_STEP}"] * 4 +
            ["{AXIS}::{TEST}", "{AXIS}::{TEST}", "{AXIS}::{TEST}[{PREDICATE}]"],
    "TEST": [*NAMES, "*", "*", "Attribute_List", "node()"],
    "AXIS": ["child", "descendant", "descendant-or-self", "following-sibling", "self", "preceding-sibling",
             "following", "preceding", "ancestor", "ancestor-or-self"],
    "OTHER_STEP": [".", "..", "text()", "comment()", "processing-instruction()", "@k", "@Id", "@*",
                   "@xml:lang", "@xml:space", "@\xe9", "attribute::unit"],
    "PREDICATE": [
        "1", "2", "last()", "position(){SIGN}{DIGIT}", "{SUB}", "not({SUB})", "{SUB}{SIGN}{LITERAL}",
        "{SUB}{SIGN}{DIGIT}", "count({SUB}){SIGN}{DIGIT}", "string-length({SUB}){SIGN}4", "lang('en')",
        "contains({SUB},'\xe9')", "starts-with(name(),'S')", "starts-with(name({SUB}),'S')",
        "substring-before({SUB},'f'){SIGN}'ca'", "substring-after({SUB},'\xe9')=''",
        "translate({SUB},'caf','CAF')='CAF\xe9'", "normalize-space({SUB})='b c'",
        "namespace-uri({SUB})=''", "local-name({SUB})='Size'", "sum({SUB}){SIGN}3",
        "({SUB}){SIGN}true()", "boolean({SUB})", "concat(name(),{SUB})='Sizea'",
        "{SUB}{SIGN}{NAME}", "number({SUB}) mod 2=1", "{SUB} or {DIGIT}{SIGN}1"],
    "SUB": [*NAMES, "*", ".", "..", "@k", "@*", "text()", "//Size", "/*", "//*"],
    "SIGN": ["=", "!=", "<", "<=", ">", ">="],
    "DIGIT": ["0", "1", "2", "3"],
    "LITERAL": [quoteattr(word).replace("&quot;", "") for word in WORDS],
    "NAME": NAMES,
}
# Left out, because the builds read it differently: blanks at the ends of a text, and texts of nothing
# else unless they are between two tags; and a CDATA section next to another.
UNALIKE = re.compile(r"(?<![>\s])\s+(?=<|$)|(?:^|(?<=>))\s+(?=[^<\s]|$)"
                     r"|(?<=\]\]>)\s*<!\[CDATA\[.*?\]\]>")
# What leads out of a list, which an entry before may have taken out of the message.
OUTWARDS = {r"(^|[\[(,=<>| ])/": r"\1./", r"\.\.": ".", r"ancestor(-or-self)?::": "self::"}
# What Wine's DOM answers wrongly, and what is asked instead.
MISREAD = {r"@\*": "@*[name()!='xmlns']", r"//\.(?!\.)": "/.", r"preceding::(\*|node\(\))": "preceding::Size",
           r"(?<!/)/(?=\xe9)": "/child::", r"(@[^/]*|attribute::unit)/following::": r"\1/../following::"}


# One sequence of commands, which depends on nothing that was said before it.
class Sequence:
    def __init__(self, seed, number):
        self.random = random.Random(f"{seed}/{number}")
        self.pick = self.random.choice
        self.text = ""
        self.say("BEGINNING")
        self.say("parse {MESSAGE}")
        for _ in range(self.random.randrange(3, 12)):
            if self.chance(67):
                self.say("CHANGE")
                self.say("xml")
            else:
                self.say("READING")
        self.say("set-length")
        self.say("xml")

    def say(self, form):
        words = self.pick(GRAMMAR.get(form, [form])).split()
        self.text += " ".join(quote(self.made(word)) if "{" in word else word for word in words) + "\n"

    def chance(self, percent):
        return self.random.randrange(100) < percent

    def made(self, form):
        def one(kind):
            known = GRAMMAR.get(kind[1])
            return self.made(self.pick(known)) if known else getattr(self, kind[1].lower())()
        return re.sub(r"\{(\w+)\}", one, form)

    def several(self, make):
        return "".join(make() for _ in range(self.random.randrange(4)))

    def path(self, also={}):
        path = self.made("{PLAIN_PATH}")
        for asked, instead in [*also.items(), *MISREAD.items()]:
            path = re.sub(asked, instead, path)
        return path

    def message(self):
        data = f"<Data>{self.list()}{self.content(2, {})}</Data>"
        inside = lambda scope: self.made('<To Id="{NUMBER}"/>') + data
        return self.pick(["", "", '<?xml version="1.0"?>']) + self.element(
            "TLK_Message", None if self.chance(20) else inside)

    def element(self, name=None, inside=None):
        if self.chance(4):
            return self.pick(BAD_TEXTS)
        tagged = self.tagged(name or self.pick(NAMES), {}, 3, inside)
        return self.made("{AROUND}") + tagged + self.made("{AROUND}")

    def list(self):
        return self.listing("Attribute_List", lambda scope: self.several(
            lambda: self.tagged(self.pick(NAMES), scope, 2)))

    def paths(self):
        entries = [escape(self.path(OUTWARDS if at else {})) for at in range(self.random.randrange(4))]
        return self.listing("Path_List", lambda scope: "".join(f"<P>{path}</P>" for path in entries))

    # Seldom a faulty one.
    def listing(self, name, inside):
        if self.chance(3):
            return self.pick(BAD_TEXTS)
        text = self.tagged(name, {}, 0, inside, plain=self.chance(70))
        return f"<l xmlns:q='urn:q'>{text}</l>" if self.chance(15) else text

    # An element with what `inside` makes in it; `scope` knows the prefixes declared above.
    def tagged(self, name, scope, depth, inside=None, plain=False):
        scope = dict(scope)
        attributes = {}
        while not plain and self.chance(35):
            attributes[self.attribute_name(scope)] = self.pick(GRAMMAR["VALUE"])
        if not plain and self.chance(2):
            attributes.update((f"k{i}", "v") for i in range(40))
        if not plain and self.chance(15):
            declared = self.pick(["xmlns", "xmlns:p", "xmlns:q"])
            scope[declared[6:]] = attributes[declared] = self.pick([*URIS, ""] if declared == "xmlns" else URIS)
        prefixes = [prefix for prefix in scope if prefix]
        if prefixes and not plain and self.chance(30):
            name = f"{self.pick(prefixes)}:{name}"
        written = [f" {key}=" + quoteattr(value, {"\r": "&#13;"}) for key, value in attributes.items()]
        self.random.shuffle(written)
        tag = name + "".join(written)
        content = inside(scope) if inside else self.content(depth, scope)
        return f"<{tag}>{content}</{name}>" if content or self.chance(20) else f"<{tag}/>"

    def attribute_name(self, scope):
        prefixes = [prefix for prefix in scope if prefix]
        if prefixes and self.chance(20):
            return f"{self.pick(prefixes)}:k"
        if self.chance(15):
            return self.pick(["xml:lang", "xml:lang", "xml:space"])
        return self.pick(["k", "Id", "unit", "\xe9"])

    # What a command names, in a document or not.
    def key(self):
        if self.chance(6):
            return self.pick(["", "1k", "a b", "xmlns:p", ":k", "p:"])
        return self.attribute_name("pqu")

    def content(self, depth, scope):
        return UNALIKE.sub("", self.several(lambda: self.piece(depth, scope)))

    def piece(self, depth, scope):
        if depth == 0 or self.chance(50):
            return self.made("{TEXT}")
        if self.chance(3):
            return "<d>" * 40 + "<Ink/>" + "</d>" * 40
        return self.tagged(self.pick(NAMES), scope, depth - 1)


# A word as the commands take it.
def quote(word):
    escaped = re.sub(r'["\\]', r"\\\g<0>", word)
    return '"' + re.sub("[^ -~]", lambda c: f"\\x{ord(c[0]):02X}", escaped) + '"'
