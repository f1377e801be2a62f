# Makes a man page of what --help prints. Needs the variables name (tlk-serve), day, version ("tlk 1.0.0")
# and commands (names with blanks between).
#
# The help is a line that says what it is, the usage, lists of options and commands, and prose. In the
# prose, indented lines are a list of terms if the line before them ends in a colon and terms have their
# meaning beside them, else they stay as they are; "Examples:" begins the examples, and a sentence that
# speaks of the status begins what is told of it up to the end of its paragraph.

function escape(text) {
  gsub(/\\/, "\\e", text)
  gsub(/-/, "\\-", text)
  gsub(/'/, "\\(aq", text)
  sub(/^\./, "\\\\\\&.", text)
  return text
}

function bold(text) { return "\\fB" escape(text) "\\fR" }

function add(section, line) { sections[section] = sections[section] line "\n" }

# A term and what it means; a term without a meaning shares that of the next.
function add_term(section, term, meaning) {
  add(section, (shares_meaning ? ".TQ" : ".TP") "\n" term)
  shares_meaning = meaning == ""
  if (meaning != "") add(section, meaning)
}

# "--port N=0" and the like, with what CLI11 says behind it of defaults and other options.
function add_option(line, meaning,    count, words, i, term, more) {
  count = split(line, words, " ")
  gsub(/,/, "\\fR, \\fB", words[1])
  term = bold(words[1])
  gsub(/\\efR, \\efB/, "\\fR, \\fB", term)
  for (i = 2; i <= count; ++i) {
    if (words[i] == "Needs:") more = more " Needs " words[++i] "."
    else if (words[i] == "Excludes:") more = more " Not with " words[++i] "."
    else {
      if (words[i] ~ /=/) more = more " Without it: " substr(words[i], index(words[i], "=") + 1) "."
      sub(/=.*/, "", words[i])
      term = term " \\fI" escape(words[i]) "\\fR"
    }
  }
  add_term("OPTIONS", term, escape(meaning "." more))
}

function add_sentence(line) {
  if (match(line, /(Exit status:|The status is) /)) {
    if (RSTART > 1) add(part, escape(substr(line, 1, RSTART - 2)))
    line = substr(line, RSTART)
    sub(/^Exit status: /, "", line)
    part = "EXIT STATUS"
  }
  add(part, escape(line))
}

# Writes the indented lines that were gathered, as what they are.
function end_block(    i, parts) {
  if (!block_size) return
  shares_meaning = 0
  if (is_list) {
    for (i = 1; i <= block_size; ++i) {
      split_columns(block[i], parts)
      if (part == "OPTIONS") add_option(parts[1], parts[2])
      else add_term(part, bold(parts[1]), escape(parts[2]))
    }
    add(part, ".PP")
  } else {
    add(part, ".PP\n.RS 4\n.nf")
    for (i = 1; i <= block_size; ++i) add(part, escape(substr(block[i], 3)))
    add(part, ".fi\n.RE\n.PP")
  }
  block_size = 0
}

# A term and its meaning, which two blanks or more keep apart.
function split_columns(line, parts) {
  sub(/^ +/, "", line)
  parts[1] = line
  parts[2] = ""
  if (match(line, /   */)) {
    parts[1] = substr(line, 1, RSTART - 1)
    parts[2] = substr(line, RSTART + RLENGTH)
  }
}

function gather(line,    parts) {
  if (!block_size) is_list = 0
  if (line ~ /^          /) {  # A long term has its meaning on the next line.
    block[block_size] = block[block_size] line
  } else {
    block[++block_size] = line
  }
  split_columns(block[block_size], parts)
  if (parts[2] != "" && may_be_list) is_list = 1
}

NR == 1 {
  about = tolower(substr($0, 1, 1)) substr($0, 2)
  sub(/\.$/, "", about)
  add("NAME", escape(name) " \\- " escape(about))
  add("DESCRIPTION", escape($0) "\n.PP")
  next
}
/^Usage: / {
  called = name
  sub(/-/, " ", called)
  rest = substr($0, length("Usage: ") + length(called) + 2)
  gsub(/[A-Z]+/, "\\fI&\\fR", rest)
  add("SYNOPSIS", bold(called) " " rest)
  next
}
/^(Positionals|Options|Subcommands|Examples):$/ {
  end_block()
  part = /^Sub/ ? "COMMANDS" : /^Pos/ ? "OPTIONS" : toupper(substr($0, 1, length($0) - 1))
  may_be_list = 1
  next
}
/^$/ {
  end_block()
  if (part != "EXAMPLES") {
    add(part, ".PP")
    part = "DESCRIPTION"
  }
  next
}
/^ / { gather($0); next }
{
  end_block()
  if (part != "EXIT STATUS") part = "DESCRIPTION"
  may_be_list = /:$/
  add_sentence($0)
}

function add_surroundings(    hosts) {
  hosts = name == "tlk" || name == "tlk-host" || name == "tlk-log"
  shares_meaning = 0
  add_term("ENVIRONMENT", bold("TLK_CODE_PAGE"),
    "The ANSI code page, by a name that \\fBiconv\\fR(1) knows. Without it: CP1252.")
  if (!hosts) return
  add_term("ENVIRONMENT", bold("TMPDIR"), "The folder of the trace log. Without it: /tmp.")
  add_term("FILES", "\\fI$TMPDIR/TLK_Client.log\\fR",
    "The trace log: all that the controls of \"tlk host\" do, the messages themselves included.")
}

function add_others(    count, names, i, others) {
  count = split("tlk " commands, names, " ")
  for (i = 1; i <= count; ++i) {
    if (i > 1) names[i] = "tlk-" names[i]
    if (names[i] != name) others = others (others == "" ? "" : ",\n") bold(names[i]) "(1)"
  }
  add("SEE ALSO", others)
}

END {
  end_block()
  if (name != "tlk") add("EXIT STATUS", ".PP\n\\fBtlk\\fR(1) tells what 2 and 3 mean.")
  add_surroundings()
  add_others()
  print ".TH " toupper(escape(name)) " 1 " day " \"" version "\" \"User Commands\""
  count = split("NAME,SYNOPSIS,DESCRIPTION,COMMANDS,OPTIONS,EXAMPLES,EXIT STATUS,ENVIRONMENT,FILES,SEE ALSO", order, ",")
  for (i = 1; i <= count; ++i) {
    text = sections[order[i]]
    gsub(/\n(\.PP\n)+/, "\n.PP\n", text)
    sub(/^(\.PP\n)+/, "", text)
    sub(/(\.PP\n)+$/, "", text)
    if (text != "") printf ".SH %s\n%s", order[i], text
  }
}
