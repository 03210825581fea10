#include "vault/svg_plots.h"

#include <algorithm>

#include "support/printable.h"

namespace vault {

namespace {

constexpr int kWidth = 720;
constexpr int kTextHeight = 24;

std::string number_text(double number) {
  const auto tenths = static_cast<std::int64_t>(number * 10 + 0.5);
  return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10);
}

std::string svg_start(std::string_view title, int height) {
  const std::string size = std::to_string(kWidth) + ' ' + std::to_string(height);
  return "<svg role=\"img\" viewBox=\"0 0 " + size + "\"><title>" + html_text(title) + "</title>\n";
}

std::string rectangle(std::string_view look, double x, double y, double width, double height) {
  std::string text = "<rect class=\"";
  text.append(look).append("\" x=\"").append(number_text(x)).append("\" y=\"").append(number_text(y));
  text.append("\" width=\"").append(number_text(width)).append("\" height=\"").append(number_text(height));
  return text + "\"/>\n";
}

std::string label_at(double x, double y, std::string_view text, std::string_view anchor = "start") {
  std::string label = "<text x=\"" + number_text(x) + "\" y=\"" + number_text(y) + "\" text-anchor=\"";
  return label.append(anchor).append("\">").append(html_text(text)).append("</text>\n");
}

double share(std::int64_t part, std::int64_t whole) {
  return whole <= 0 ? 0 : static_cast<double>(std::max<std::int64_t>(part, 0)) / static_cast<double>(whole);
}

/// Names with their colours, in one row.
std::string legend(std::span<const Bar> entries, double y) {
  std::string text;
  double x = 0;
  for (const Bar& entry : entries) {
    text += rectangle(entry.look, x, y - 11, 12, 12) + label_at(x + 17, y, entry.label);
    x += kWidth / static_cast<double>(entries.size());
  }
  return text;
}

}  // namespace

std::string html_text(std::string_view text) {
  std::string safe;
  for (const char letter : support::printable(text)) {
    if (letter == '<') {
      safe += "&lt;";
    } else if (letter == '>') {
      safe += "&gt;";
    } else if (letter == '&') {
      safe += "&amp;";
    } else if (letter == '"') {
      safe += "&quot;";
    } else {
      safe += letter;
    }
  }
  return safe;
}

std::string grouped(std::int64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, "\xC2\xA0");
  return digits;
}

std::string bar_plot(std::string_view title, std::span<const Bar> bars) {
  constexpr double kLabels = 170;
  constexpr double kBars = kWidth - kLabels - 110;
  std::int64_t highest = 0;
  for (const Bar& bar : bars) highest = std::max(highest, bar.value);
  std::string text = svg_start(title, kTextHeight * static_cast<int>(bars.size()) + 4);
  double y = 2;
  for (const Bar& bar : bars) {
    const double width = bar.value == 0 ? 0 : std::max(kBars * share(bar.value, highest), 1.0);
    text += label_at(kLabels - 8, y + 16, bar.label, "end") + rectangle(bar.look, kLabels, y + 3, width, 17);
    text += label_at(kLabels + width + 6, y + 16, grouped(bar.value));
    y += kTextHeight;
  }
  return text + "</svg>\n";
}

std::string strip_plot(std::string_view title, std::span<const Bar> pieces) {
  std::int64_t whole = 0;
  for (const Bar& piece : pieces) whole += piece.value;
  std::string text = svg_start(title, 64);
  std::vector<Bar> entries;
  double x = 0;
  for (const Bar& piece : pieces) {
    const double part = share(piece.value, whole);
    text += rectangle(piece.look, x, 2, kWidth * part, 28);
    x += kWidth * part;
    entries.push_back({piece.label + ' ' + number_text(100 * part) + '%', 0, piece.look});
  }
  return text + legend(entries, 54) + "</svg>\n";
}

std::string line_plot(std::string_view title, std::span<const Line> lines, std::string_view first,
                      std::string_view last) {
  constexpr double kLeft = 90;
  constexpr double kTop = 12;
  constexpr double kHeight = 150;
  std::int64_t highest = 1;
  std::vector<Bar> entries;
  for (const Line& line : lines) {
    for (const std::int64_t value : line.values) highest = std::max(highest, value);
    entries.push_back({line.label, 0, line.look});
  }
  std::string text = svg_start(title, 214) + rectangle("ground", kLeft, kTop, kWidth - kLeft - 6, kHeight);
  text += label_at(kLeft - 8, kTop + 10, grouped(highest), "end") +
          label_at(kLeft - 8, kTop + kHeight, "0", "end");
  text +=
      label_at(kLeft, kTop + kHeight + 18, first) + label_at(kWidth - 6, kTop + kHeight + 18, last, "end");
  for (const Line& line : lines) {
    const double step =
        (kWidth - kLeft - 6) / static_cast<double>(std::max<std::size_t>(line.values.size(), 2) - 1);
    std::string points;
    for (std::size_t i = 0; i < line.values.size(); ++i) {
      const double y = kTop + kHeight * (1 - share(line.values[i], highest));
      points += number_text(kLeft + step * static_cast<double>(i)) + ',' + number_text(y) + ' ';
    }
    // A single run is a level line.
    if (line.values.size() == 1) {
      points += number_text(kWidth - 6) + ',' + points.substr(points.find(',') + 1);
    }
    text.append("<polyline class=\"line ")
        .append(line.look)
        .append("\" points=\"")
        .append(points)
        .append("\"/>\n");
  }
  return text + legend(entries, 206) + "</svg>\n";
}

}  // namespace vault
