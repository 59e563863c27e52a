"""Pictures of figures for the documentation: readable on light and on dark, since they have no background."""

from xml.sax.saxutils import escape

BAR, GAP, BETWEEN, LABEL, WIDTH = 14, 4, 12, 90, 330
GROUP = 120  # where the names of the bars begin, after those of their groups
# In the middle between white and black, so that both are a contrast.
TEXT, CHOSEN, OTHER = "#7a828c", "#2f81d0", "#9aa3ad"


def _text(x, y, words, anchor="start", weight="normal"):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}" font-weight="{weight}">{escape(words)}</text>'


def _chart(top, title, groups, unit):
    """One title, and bars from the left; returns the elements and where the chart ends."""
    parts, y = [_text(0, top + 12, title, weight="bold")], top + 26
    longest = max(value for bars in groups.values() for _, value, _ in bars)
    for group, bars in groups.items():
        parts.append(_text(0, y + 11, group))
        for name, value, is_chosen in bars:
            length = WIDTH * value / longest
            left = GROUP + LABEL
            parts.append(_text(left - 8, y + 11, name, "end", "bold" if is_chosen else "normal"))
            parts.append(f'<rect x="{left}" y="{y}" width="{length:.1f}" height="{BAR}" fill="{CHOSEN if is_chosen else OTHER}"/>')
            parts.append(_text(round(left + length + 6), y + 11, f"{value:.3g}{unit}"))
            y += BAR + GAP
        y += BETWEEN
    return parts, y


def bar_charts(charts):
    """An SVG of several charts, one below the other: title, {group: [(name, value, whether it is the chosen one)]}, unit."""
    parts, y = [], 0
    for title, groups, unit in charts:
        elements, y = _chart(y, title, groups, unit)
        parts += elements
    width = GROUP + LABEL + WIDTH + 70
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {y}" width="{width}" height="{y}" '
            f'font-family="sans-serif" font-size="12" fill="{TEXT}">\n' + "\n".join(parts) + "\n</svg>\n")
