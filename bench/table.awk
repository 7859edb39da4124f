# Turns the lines of JSON that the bench's programs print, one object a line, into the table of
# bench.sh. Fails when one of the rows 1 to 12 has no result.

function textOf(key,   at, rest) {
  at = index($0, "\"" key "\":\"")
  if (!at) return ""
  rest = substr($0, at + length(key) + 4)
  return substr(rest, 1, index(rest, "\"") - 1)
}

function numberOf(key,   at) {
  at = index($0, "\"" key "\":")
  return at ? substr($0, at + length(key) + 3) + 0 : ""
}

# What a shared machine may add to the goal.
function tolerance(row, unit,   given) {
  given = numberOf("tolerance")
  if (given != "") return given
  if (row ~ /^[56]([^0-9]|$)/) return 0 # instruction counts
  if (row ~ /p99/) return 0.30
  return unit == "x" || unit == "s" ? 0.15 : 0
}

function verdict(row, unit, goal, measured,   stretch) {
  stretch = numberOf("stretch")
  if (stretch != "" && measured <= stretch) return "held, stretch too"
  if (measured <= goal) return "held"
  if (measured <= goal * (1 + tolerance(row, unit))) return "held within the tolerance"
  missed++
  return "MISSED"
}

function line(row, what, goal, measured, judged, detail) {
  printf "| %-12s | %-50s | %-14s | %-14s | %-25s | %s\n", row, what, goal, measured, judged, detail
}

BEGIN {
  line("row", "what", "at most", "measured", "verdict", "detail |")
  print "|---|---|---|---|---|---|"
}

/^\{"row":/ {
  row = textOf("row")
  unit = textOf("unit")
  goal = numberOf("goal")
  measured = numberOf("measured")
  line(row, textOf("what"), sprintf("%.4g %s", goal, unit), sprintf("%.4g %s", measured, unit), \
       verdict(row, unit, goal, measured), textOf("detail") " |")
  seen[row + 0]++
}

END {
  for (row = 1; row <= 12; row++)
    if (!seen[row]) {
      line(row, "", "", "no result", "", "|")
      absent++
    }
  printf "\n%d rows missed%s\n", missed, absent ? ", " absent " without a result" : ""
  exit absent > 0
}
