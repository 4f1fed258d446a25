# Makes dmu-topology(5) of docs/topology.md: headings, paragraphs, lists, tables, examples and `code`. Links lead nowhere
# from a page.

function inlined(text, link, pieces, count, i) {
  gsub(/\\/, "\\e", text)
  while (match(text, /\[[^]]*\]\([^)]*\)/)) {
    link = substr(text, RSTART + 1, RLENGTH - 1)
    sub(/\].*/, "", link)
    text = substr(text, 1, RSTART - 1) link substr(text, RSTART + RLENGTH)
  }
  count = split(text, pieces, "`")
  text = pieces[1]
  for (i = 2; i <= count; ++i) text = text (i % 2 ? "\\fR" : "\\fB") pieces[i]
  return text
}

function example(text) {
  if (!inExample) print ".PP\n.EX"
  inExample = 1
  gsub(/\\/, "\\e", text)
  print text
}

function row(text, cells, count, i) {
  if (!inTable) print ".PP\n.na\n.TS\ntab(|) allbox;\nlb lb lbx\nl l lx."
  inTable = 1
  count = split(text, cells, "|")
  for (i = 2; i < count; ++i) {
    gsub(/^ +| +$/, "", cells[i])
    print (i == 2 ? "T{" : "T}|T{") (cells[i] == "" ? "" : "\n" inlined(cells[i]))
  }
  print "T}"
}

function finish() {
  if (inExample) print ".EE"
  if (inTable) print ".TE\n.ad"
  inExample = inTable = 0
}

BEGIN { print "'\\\" t\n.TH DMU\\-TOPOLOGY 5" }
{ isFirst = afterBlank; afterBlank = /^$/ }
/^```/ { fenced = !fenced; finish(); next }
fenced { example($0); next }
/^$/ { finish(); next }
/^    / { example(substr($0, 5)); next }
/^\|--/ { next }
/^\|/ { row($0); next }
/^# / { print ".SH NAME\ndmu\\-topology \\- the topology file of the simulated host\n.SH DESCRIPTION"; next }
/^## / { print ".SH " toupper(substr($0, 4)); next }
/^- / { print ".IP \\(bu 2\n" inlined(substr($0, 3)); next }
/^[0-9]+\. / { print ".IP " $1 " 4\n" inlined(substr($0, length($1) + 2)); next }
{
  if (isFirst) print ".PP"
  sub(/^ +/, "")
  print inlined($0)
}
