#include "diagnosis/burst/Svg.h"

#include "diagnosis/burst/Markup.h"
#include "toolkit/Format.h"

#include <algorithm>

namespace diagnosis::page {

namespace {

std::string attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + coordinate(value) + "\"";
}

std::string classOf(std::string_view classes) {
    return classes.empty() ? std::string() : " class=\"" + std::string(classes) + "\"";
}

} // namespace

std::string coordinate(double value) {
    return toolkit::numberText(value, 1);
}

Svg::Svg(double width, double height, std::string_view label, std::string_view classes) {
    head = "<svg" + classOf(classes) + " viewBox=\"0 0 " + coordinate(width) + " " + coordinate(height) + "\"" +
           attribute("width", width) + attribute("height", height) + " role=\"img\" aria-label=\"" + escaped(label) +
           "\"";
    body = "<title>" + escaped(label) + "</title>";
}

std::string Svg::file(std::string_view style) const {
    return head + " xmlns=\"http://www.w3.org/2000/svg\">" + std::string(style) + body + "</svg>\n";
}

void Svg::line(double x1, double y1, double x2, double y2, std::string_view classes) {
    body += "<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2) +
            classOf(classes) + "/>";
}

void Svg::rect(double x, double y, double width, double height, std::string_view classes) {
    body += "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width > 0.0 ? width : 0.0) +
            attribute("height", height) + classOf(classes) + "/>";
}

void Svg::hatch(double x, double y, double width, double height, std::string_view classes) {
    constexpr double distance = 5.0;
    std::string data;
    // Each line rises to the right at 45 degrees, cut off at the sides.
    for (double start = distance - height; start < width; start += distance) {
        const double left = std::max(start, 0.0);
        const double right = std::min(start + height, width);
        if (right > left) {
            data += "M" + coordinate(x + left) + " " + coordinate(y + height - (left - start)) + "L" +
                    coordinate(x + right) + " " + coordinate(y + height - (right - start));
        }
    }
    if (!data.empty()) {
        path(data, classes);
    }
}

void Svg::circle(double x, double y, double radius, std::string_view classes) {
    body += "<circle" + attribute("cx", x) + attribute("cy", y) + attribute("r", radius) + classOf(classes) + "/>";
}

void Svg::path(const std::string& data, std::string_view classes, double opacity) {
    body += "<path d=\"" + data + "\"" + classOf(classes);
    if (opacity < 1.0) {
        body += " opacity=\"" + toolkit::numberText(opacity, 2) + "\"";
    }
    body += "/>";
}

void Svg::text(double x, double y, std::string_view content, std::string_view classes, const char* anchor) {
    if (content.empty()) {
        return;
    }
    body += "<text" + attribute("x", x) + attribute("y", y) + classOf(classes) + " text-anchor=\"" + anchor + "\">" +
            escaped(content) + "</text>";
}

} // namespace diagnosis::page
