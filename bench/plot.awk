# Draws the cost of a report against the number of neighbours, as SVG, from the CSV that
# "road --sweep" writes:
#
#   awk -f bench/plot.awk cost.csv > performance.svg

BEGIN {
  FS = ","
  width = 400; height = 300; top = 50; left = 70; gap = 110
}

NR > 1 {
  neighbours[++points] = $1
  for (column = 2; column <= 5; column++) {
    value[column, points] = $column
    if (least == 0 || $column < least) least = $column
    if ($column > most) most = $column
  }
}

function log10(number) { return log(number) / log(10) }

function xOf(number) { return log10(number) / log10(neighbours[points]) * width }

function yOf(number) { return height * (1 - (log10(number) - low) / (high - low)) }

function text(x, y, anchor, words) {
  printf "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", x, y, anchor, words
}

function shownTime(microseconds) {
  return microseconds < 1000 ? microseconds " us" : microseconds / 1000 " ms"
}

function grid(   exponent, digit, i, y) {
  printf "<g stroke=\"#ddd\">\n"
  for (exponent = low; exponent <= high; exponent++) {
    y = yOf(10 ^ exponent)
    printf "<line x1=\"0\" y1=\"%.1f\" x2=\"%d\" y2=\"%.1f\"/>\n", y, width, y
  }
  for (i = 1; i <= points; i++)
    printf "<line x1=\"%.1f\" y1=\"0\" x2=\"%.1f\" y2=\"%d\"/>\n", xOf(neighbours[i]), \
           xOf(neighbours[i]), height
  print "</g>"
  for (exponent = low; exponent <= high; exponent++)
    text(-8, yOf(10 ^ exponent) + 4, "end", shownTime(10 ^ exponent))
  for (i = 1; i <= points; i++)
    text(xOf(neighbours[i]), height + 18, "middle", neighbours[i])
  text(width / 2, height + 40, "middle", "neighbours")
}

function curve(column, colour, dashes, label,   i) {
  printf "<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"2\"%s points=\"", colour, dashes
  for (i = 1; i <= points; i++)
    printf "%.1f,%.1f ", xOf(neighbours[i]), yOf(value[column, i])
  print "\"/>"
  for (i = 1; i <= points; i++)
    printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", xOf(neighbours[i]), \
           yOf(value[column, i]), colour
  printf "<g fill=\"%s\">", colour
  text(width + 6, yOf(value[column, points]) + 4 + (column % 2 ? 8 : -4), "start", label)
  print "</g>"
}

function panel(x, title, controller, relay) {
  printf "<g transform=\"translate(%d,%d)\">\n", x, top
  text(width / 2, -18, "middle", title)
  grid()
  curve(relay, "#777777", " stroke-dasharray=\"6 4\"", "relay")
  curve(controller, "#c0392b", "", "controller")
  print "</g>"
}

END {
  low = int(log10(least)); if (log10(least) < low) low--
  high = int(log10(most)); if (high < log10(most)) high++
  if (high == low) high++
  second = left + width + gap + 40
  total = second + width + gap
  printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" " \
         "font-family=\"sans-serif\" font-size=\"13\">\n", total, top + height + 60
  printf "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
  panel(left, "processor time of a report", 2, 3)
  panel(second, "from report to alarm, p50", 4, 5)
  print "</svg>"
}
