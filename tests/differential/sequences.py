# Random sequences of commands for tlk message. A seed and a number make the same one every time.

import pathlib
import random
import re
from xml.sax.saxutils import escape, quoteattr

# What may stand for a word in braces. What is not here a method of that name makes.
GRAMMAR = {}
for line in pathlib.Path(__file__).with_name("grammar.txt").read_text("ascii").splitlines():
    if line[:1].isdigit():
        weight, _, form = line.partition(" ")
        GRAMMAR[kind] += [form.encode().decode("unicode_escape")] * int(weight)
    elif line[:1].isalpha():
        GRAMMAR[kind := line] = []

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
        self.say("BEGINNING", "parse {MESSAGE}")
        for _ in range(self.random.randrange(3, 12)):
            self.say(*["CHANGE", "xml"] if self.chance(67) else ["READING"])
        self.say("set-length", "xml")

    def say(self, *forms):
        for form in forms:
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
        return self.made("{BEFORE}") + self.element("TLK_Message", None if self.chance(20) else inside)

    def element(self, name=None, inside=None):
        if self.chance(4):
            return self.made("{BAD_TEXT}")
        tagged = self.tagged(name or self.made("{NAME}"), {}, 3, inside)
        return self.made("{AROUND}") + tagged + self.made("{AROUND}")

    def list(self):
        one = lambda scope: self.tagged(self.made("{NAME}"), scope, 2)
        return self.listing("Attribute_List", lambda scope: self.several(lambda: one(scope)))

    def paths(self):
        entries = [escape(self.path(OUTWARDS if at else {})) for at in range(self.random.randrange(4))]
        return self.listing("Path_List", lambda scope: "".join(f"<P>{path}</P>" for path in entries))

    # Seldom a faulty one.
    def listing(self, name, inside):
        if self.chance(3):
            return self.made("{BAD_TEXT}")
        text = self.tagged(name, {}, 0, inside, plain=self.chance(70))
        return f"<l xmlns:q='urn:q'>{text}</l>" if self.chance(15) else text

    # An element with what `inside` makes in it; `scope` knows the prefixes declared above.
    def tagged(self, name, scope, depth, inside=None, plain=False):
        scope = dict(scope)
        attributes = {}
        while not plain and self.chance(35):
            attributes[self.attribute_name(scope)] = self.made("{VALUE}")
        if not plain and self.chance(2):
            attributes.update((f"k{i}", "v") for i in range(40))
        if not plain and self.chance(15):
            declared = self.pick(["xmlns", "xmlns:p", "xmlns:q"])
            uri = self.made("{URI}" if declared == "xmlns" else "{PREFIXED_URI}")
            scope[declared[6:]] = attributes[declared] = uri
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
        return self.made("{XML_ATTRIBUTE}" if self.chance(15) else "{ATTRIBUTE}")

    # What a command names, in a document or not.
    def key(self):
        return self.made("{BAD_KEY}") if self.chance(6) else self.attribute_name("pqu")

    def content(self, depth, scope):
        return UNALIKE.sub("", self.several(lambda: self.piece(depth, scope)))

    def piece(self, depth, scope):
        if depth == 0 or self.chance(50):
            return self.made("{TEXT}")
        if self.chance(3):
            return "<d>" * 40 + "<Ink/>" + "</d>" * 40
        return self.tagged(self.made("{NAME}"), scope, depth - 1)


# A word as the commands take it.
def quote(word):
    escaped = re.sub(r'["\\]', r"\\\g<0>", word)
    return '"' + re.sub("[^ -~]", lambda c: f"\\x{ord(c[0]):02X}", escaped) + '"'
