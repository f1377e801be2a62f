# explanations.awk: makes of docs/trace-log.md the table of what there is to say of each record, in the file
# that the variable `table` names.
#
# A row of a table begins with the mark and the line; its last column is what is said. Rows of the codec
# begin with lines such as "B 178, P 33 (B 38)"; what they mean stands in the list below them.

function plain(text) {
  gsub(/\]\([^)]*\)/, "]", text)
  gsub(/[][`*]/, "", text)
  gsub(/\\n|\\t/, " ", text)
  gsub(/\\/, "\\\\", text)
  gsub(/"/, "\\\"", text)
  sub(/^ +/, "", text)
  sub(/[ .]+$/, "", text)
  return text
}

function say(source, line, text) {
  if ((source, line) in said) return
  said[source, line] = plain(text)
  order[++rows] = source SUBSEP line
}

# A row that says "As 280" has what is said of that behind it.
function resolve(source, text,    other) {
  if (text !~ /^As [0-9]+/) return text
  other = text
  sub(/^As /, "", other)
  sub(/[^0-9].*/, "", other)
  return text ". " other ": " said[source, other]
}

# Gives what stands in a list of places, such as "B 702 to 975, but for 767", to each of the codec's
# lines that are meant.
function mean(places, text,    words, count, i, from, except, side) {
  gsub(/[(),]/, " ", places)
  count = split(places, words, " +")
  except = 0
  for (i = 1; i <= count; ++i) {
    if (words[i] ~ /^[BP]$/) side = words[i]
    else if (words[i] == "to") { for (j = from + 1; j < words[i + 1]; ++j) meaning[side, j] = text }
    else if (words[i] == "for") except = 1
    else if (words[i] ~ /^[0-9]+$/ && except) delete meaning[side, words[i]]
    else if (words[i] ~ /^[0-9]+$/) { from = words[i] + 0; meaning[side, from] = text }
  }
}

function cells(row) {
  sub(/^\| */, "", row)
  sub(/ *\| *$/, "", row)
  return split(row, cell, / *\| */)
}

/^## / { section = $0 }

/^## The mutex guard/ { source = "QNManageMutex" }
/^## The control/ { source = "Tlkc" }

/^\| [NEW] \| [0-9]+ \|/ {
  count = cells($0)
  say(source, cell[2], cell[count])
  if (count == 5 && cell[4] ~ /^[0-9]+$/) ends = ends " " cell[4] ":" cell[2]
}

section ~ /^## The control/ && /^\| [0-9, ]+ \| [^|]+ \| [0-9, ]+ \|/ {
  count = cells($0)
  for (c = 1; c < count; c += 2) {
    gsub(/,/, " ", cell[c])
    numbers = split(cell[c], number, " +")
    for (i = 1; i <= numbers; ++i)
      meanings = meanings "    {" number[i] ", \"" plain(cell[c + 1]) "\"},\n"
  }
}

/^\| `TLK_XML(Builder|Parser)` \| [0-9]+ \|/ {
  cells($0)
  say(plain(cell[1]), cell[2], cell[3])
}

/^\| \(?[BP] [0-9]+/ {
  cells($0)
  if (cell[2] != "the same") printed = plain(cell[2])
  codec[++codecRows] = cell[1]
  codecPrinted[codecRows] = printed
}

/^- [BP] [0-9][^:]*: / {
  places = substr($0, 3, index($0, ": ") - 3)
  mean(places, substr($0, index($0, ": ") + 2))
}
/^- all others: / { otherwise = substr($0, index($0, ": ") + 2) }

# The two lines of the queue, and the sentence below them.
/^`-+ .* -+`$/ { line = $0; gsub(/`/, "", line); queue[++queueLines] = line }
/A host that stood still between these two lines/ {
  slow = $0
  sub(/^.*A host/, "A host", slow)
  sub(/\..*/, "", slow)
}

END {
  sides["B"] = "TLK_XMLBuilder"
  sides["P"] = "TLK_XMLParser"
  for (r = 1; r <= codecRows; ++r) {
    gsub(/[(),]/, " ", codec[r])
    count = split(codec[r], words, " +")
    for (i = 1; i <= count; ++i) {
      if (words[i] ~ /^[BP]$/) side = words[i]
      else if (words[i] ~ /^[0-9]+$/) {
        told = (side, words[i] + 0) in meaning ? meaning[side, words[i] + 0] : otherwise
        say(sides[side], words[i], "printed: " codecPrinted[r] " - " told)
      }
    }
  }
  count = split(ends, end, " ")
  for (i = 1; i <= count; ++i) {
    split(end[i], pair, ":")
    say("Tlkc", pair[1], "the end that the record " pair[2] " before it tells of")
  }
  print "constexpr Explanation kExplanations[] = {" >table
  for (i = 1; i <= rows; ++i) {
    split(order[i], place, SUBSEP)
    print "    {\"" place[1] "\", " place[2] ", \"" resolve(place[1], said[order[i]]) "\"}," >table
  }
  print "};" >table
  print "constexpr ErrorMeaning kErrorMeanings[] = {\n" meanings "};" >table
  print "constexpr QueueLine kQueueLines[] = {" >table
  for (i = 1; i <= queueLines; ++i) print "    {\"" queue[i] "\", \"" plain(slow) "\"}," >table
  print "};" >table
}
