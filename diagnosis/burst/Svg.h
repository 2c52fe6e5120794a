#pragma once

#include <string>
#include <string_view>

namespace diagnosis::page {

/// A drawing whose colours are those of a style sheet, by class.
class Svg {
public:
    /// `label` describes the drawing in words, for readers who cannot see it.
    Svg(double width, double height, std::string_view label, std::string_view classes = {});

    void line(double x1, double y1, double x2, double y2, std::string_view classes);
    void rect(double x, double y, double width, double height, std::string_view classes);
    /// Slanted lines over a rectangle, for what must not depend on its colour alone.
    void hatch(double x, double y, double width, double height, std::string_view classes = "hatch");
    void circle(double x, double y, double radius, std::string_view classes);
    void path(const std::string& data, std::string_view classes, double opacity = 1.0);
    /// `anchor` is "start", "middle" or "end". An empty text draws nothing.
    void text(double x, double y, std::string_view content, std::string_view classes, const char* anchor = "start");

    /// An element of a page.
    std::string markup() const { return head + ">" + body + "</svg>"; }
    /// A file of its own with a <style> element.
    std::string file(std::string_view style) const;

private:
    std::string head, body;
};

/// "12.3", short enough for thousands of them.
std::string coordinate(double value);

} // namespace diagnosis::page
