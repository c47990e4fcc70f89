# Draws the table that bench --json wrote, one object a line, as an SVG: a panel for each kind of thread; in it for
# each crossing the ratio to its floor, its spread, and the target.

function value(key,    rest) {
    if (!match($0, "\"" key "\": ")) return ""
    rest = substr($0, RSTART + RLENGTH)
    if (rest ~ /^"/) {
        rest = substr(rest, 2)
        return substr(rest, 1, index(rest, "\"") - 1)
    }
    match(rest, /^[^,}]+/)
    return substr(rest, 1, RLENGTH)
}

function x(ratio) {
    if (ratio < low) ratio = low
    if (ratio > high) ratio = high
    return left + (ratio - low) / (high - low) * width
}

function line(x1, y1, x2, y2, style) {
    printf "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" %s/>\n", x1, y1, x2, y2, style
}

function text(at, y, words, style) {
    gsub(/&/, "\\&amp;", words)
    gsub(/</, "\\&lt;", words)
    printf "<text x=\"%.1f\" y=\"%.1f\" %s>%s</text>\n", at, y, style, words
}

/"name"/ {
    thread = value("thread")
    if (!(thread in rows)) panels[++panelCount] = thread
    ++rows[thread]
    at = thread SUBSEP rows[thread]
    name[at] = value("name")
    ratio[at] = value("ratio")
    spread[at] = value("spread")
    target[at] = value("target")
    met[at] = value("met")
    if (rows[thread] > most) most = rows[thread]
}

END {
    low = 0.9; high = 1.3; width = 200; label = 205; step = 15; top = 60
    panel = label + width + 25
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" font-family=\"sans-serif\" font-size=\"11\">\n", panelCount * panel, top + most * step + 20
    print "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>"
    text(10, 18, "Time of a crossing as a multiple of its floor: ratio of medians, spread between quartiles, target", "font-size=\"14\"")
    for (p = 1; p <= panelCount; ++p) {
        thread = panels[p]
        left = (p - 1) * panel + label
        bottom = top + rows[thread] * step
        text(left, 38, thread, "font-weight=\"bold\"")
        for (tick = low; tick < high + 0.01; tick += 0.1) {
            line(x(tick), top - 6, x(tick), bottom, tick > 0.99 && tick < 1.01 ? "stroke=\"#444444\"" : "stroke=\"#dddddd\"")
            text(x(tick), top - 9, sprintf("%.1f", tick), "text-anchor=\"middle\" fill=\"#666666\" font-size=\"9\"")
        }
        for (i = 1; i <= rows[thread]; ++i) {
            at = thread SUBSEP i
            y = top + (i - 0.5) * step
            colour = met[at] == "true" ? "#2a7f62" : "#c0392b"
            text(left - 6, y + 4, name[at], "text-anchor=\"end\"")
            line(x(ratio[at] - spread[at] / 2), y, x(ratio[at] + spread[at] / 2), y, "stroke=\"" colour "\" stroke-width=\"3\" stroke-opacity=\"0.35\"")
            line(x(target[at]), y - 5, x(target[at]), y + 5, "stroke=\"#e08e0b\" stroke-width=\"2\"")
            printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3.5\" fill=\"%s\"/>\n", x(ratio[at]), y, colour
        }
    }
    print "</svg>"
}
