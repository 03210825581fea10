#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vault {

/// Text from a file or a database as text of a page: fit for a terminal, and no markup.
std::string html_text(std::string_view text);

/// A number with its thousands set apart.
std::string grouped(std::int64_t number);

/// One bar of a plot.
struct Bar {
  std::string label;
  std::int64_t value = 0;  ///< at least 0
  std::string_view look;   ///< class of the style sheet
};

/// Bars beneath each other, label to the left and value to the right, as an SVG element.
std::string bar_plot(std::string_view title, std::span<const Bar> bars);

/// Pieces of one strip, as long as their shares, as an SVG element with a legend.
std::string strip_plot(std::string_view title, std::span<const Bar> pieces);

/// One line of a plot.
struct Line {
  std::string label;
  std::vector<std::int64_t> values;  ///< each at least 0
  std::string_view look;             ///< class of the style sheet
};

/// Lines over the same steps, from zero to the highest value, as an SVG element with a legend. `first` and
/// `last` name the ends of the axis.
std::string line_plot(std::string_view title, std::span<const Line> lines, std::string_view first,
                      std::string_view last);

}  // namespace vault
