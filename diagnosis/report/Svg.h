#pragma once

#include <string>
#include <string_view>

namespace diagnosis::page {

/// A drawing that takes its colours from the page's style sheet, by class.
class Svg {
public:
    /// `label` says in words what is to be seen, for those who cannot see it.
    Svg(double width, double height, std::string_view label, std::string_view classes = {});

    void line(double x1, double y1, double x2, double y2, std::string_view classes);
    void rect(double x, double y, double width, double height, std::string_view classes);
    void circle(double x, double y, double radius, std::string_view classes);
    void path(const std::string& data, std::string_view classes, double opacity = 1.0);
    /// `anchor` is "start", "middle" or "end".
    void text(double x, double y, std::string_view content, std::string_view classes, const char* anchor = "start");

    std::string markup() const { return body + "</svg>"; }

private:
    std::string body;
};

/// "12.3", short enough for thousands of them.
std::string coordinate(double value);

} // namespace diagnosis::page
