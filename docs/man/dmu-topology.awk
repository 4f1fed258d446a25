# Makes dmu-topology(5) of docs/topology.md: headings, paragraphs, lists, tables, examples and `code`. Links lead nowhere
# from a page. A table becomes a list, which is as wide as its reader's terminal: of each row the first cell is what is
# described and the last one the description; those between stand in brackets beside the first, with their headings.
#
# The environment variable header is the date and the version, as .TH takes them.

# Text that means nothing to the formatter.
function plain(text) {
  gsub(/\\/, "\\e", text)
  gsub(/-/, "\\-", text)
  return beginning(text)
}

# The beginning of a line that is no request.
function beginning(text) { return (text ~ /^[.']/ ? "\\&" : "") text }

function inlined(text, link, pieces, count, i) {
  while (match(text, /\[[^]]*\]\([^)]*\)/)) {
    link = substr(text, RSTART + 1, RLENGTH - 1)
    sub(/\].*/, "", link)
    text = substr(text, 1, RSTART - 1) link substr(text, RSTART + RLENGTH)
  }
  count = split(plain(text), pieces, "`")
  text = pieces[1]
  for (i = 2; i <= count; ++i) text = text (i % 2 ? "\\fR" : "\\fB") pieces[i]
  return text
}

# Prints the text on lines of 80 characters, which is what mandoc wants of a source.
function fill(text, words, count, line, i) {
  count = split(inlined(text), words, " ")
  line = words[1]
  for (i = 2; i <= count; ++i) {
    if (length(line " " words[i]) <= 80) {
      line = line " " words[i]
    } else {
      print line
      line = beginning(words[i])
    }
  }
  print line
}

function example(text) {
  if (!inExample) print ".PP\n.EX"
  inExample = 1
  print plain(text)
}

function row(text, cells, count, notes, i) {
  count = split(text, cells, / *\| */)
  if (!inTable) {
    inTable = 1
    split(text, headings, / *\| */)
    print ".SS " headings[2]
    return
  }
  for (i = 3; i < count - 1; ++i) {
    if (cells[i] != "") notes = notes (notes == "" ? "" : "; ") headings[i] ": " cells[i]
  }
  print ".TP\n" inlined(cells[2] (notes == "" ? "" : " (" notes ")"))
  fill(cells[count - 1])
}

function finish() {
  if (inExample) print ".EE"
  inExample = inTable = 0
}

# A heading begins a paragraph by itself.
{
  isFirst = previous == "" && lastText !~ /^#/
  previous = $0
  if ($0 != "") lastText = $0
}
BEGIN { print ".nr HY 0\n.ds AD l\n.TH DMU\\-TOPOLOGY 5 " ENVIRON["header"] "\n.ad l" }
END { print ".SH SEE ALSO\n.BR dmu\\-host (1)" }
/^```/ { fenced = !fenced; finish(); next }
fenced { example($0); next }
/^$/ { finish(); next }
/^    / { example(substr($0, 5)); next }
/^\|--/ { next }
/^\|/ { row($0); next }
/^# / { print ".SH NAME\ndmu\\-topology \\- the topology file of the simulated host\n.SH DESCRIPTION"; next }
/^## / { print ".SH " toupper(substr($0, 4)); next }
/^- / { print ".IP \\(bu 2"; fill(substr($0, 3)); next }
/^[0-9]+\. / { print ".IP " $1 " 4"; fill(substr($0, length($1) + 2)); next }
{
  if (isFirst) print ".PP"
  fill($0)
}
