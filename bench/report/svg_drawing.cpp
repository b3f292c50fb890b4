#include "report/svg_drawing.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace {

/// With one decimal, as short as it goes.
std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    std::string number = text;
    if (number.ends_with(".0"))
        number.resize(number.size() - 2);
    return number;
}

std::string Attribute(const char* name, const std::string& value)
{
    return std::string(" ") + name + "=\"" + value + '"';
}

std::string Attribute(const char* name, double value)
{
    return Attribute(name, Number(value));
}

std::string Escaped(const std::string& text)
{
    std::string result;
    for (const char c : text)
        result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    return result;
}

} // namespace

SvgDrawing::SvgDrawing(double width_, double height_) : width(width_), height(height_)
{
    Rectangle({0, 0}, width, height, "#ffffff");
}

void SvgDrawing::Line(SvgPoint from, SvgPoint to, const std::string& color, double lineWidth)
{
    body += "<line" + Attribute("x1", from.x) + Attribute("y1", from.y) + Attribute("x2", to.x) +
            Attribute("y2", to.y) + Attribute("stroke", color) + Attribute("stroke-width", lineWidth) +
            "/>\n";
}

void SvgDrawing::Polyline(const std::vector<SvgPoint>& points, const std::string& color,
                          const std::string& dash)
{
    std::string list;
    for (const SvgPoint& point : points)
        list += (list.empty() ? "" : " ") + Number(point.x) + ',' + Number(point.y);
    body += "<polyline" + Attribute("points", list) + Attribute("fill", "none") + Attribute("stroke", color) +
            Attribute("stroke-width", 2.2) + (dash.empty() ? "" : Attribute("stroke-dasharray", dash)) +
            "/>\n";
}

void SvgDrawing::Circle(SvgPoint center, double radius, const std::string& color)
{
    body += "<circle" + Attribute("cx", center.x) + Attribute("cy", center.y) + Attribute("r", radius) +
            Attribute("fill", color) + "/>\n";
}

void SvgDrawing::Rectangle(SvgPoint corner, double w, double h, const std::string& color)
{
    body += "<rect" + Attribute("x", corner.x) + Attribute("y", corner.y) + Attribute("width", w) +
            Attribute("height", h) + Attribute("fill", color) + "/>\n";
}

void SvgDrawing::Text(SvgPoint at, const std::string& text, const TextStyle& style)
{
    const char* const anchor = style.anchor == TextAnchor::Start    ? "start"
                               : style.anchor == TextAnchor::Middle ? "middle"
                                                                    : "end";
    body += "<text" + Attribute("x", at.x) + Attribute("y", at.y) + Attribute("font-size", style.size) +
            Attribute("fill", style.color) + Attribute("text-anchor", anchor);
    if (style.bold)
        body += Attribute("font-weight", "bold");
    if (style.rotation != 0)
        body += Attribute("transform",
                          "rotate(" + Number(style.rotation) + ' ' + Number(at.x) + ' ' + Number(at.y) + ')');
    body += '>' + Escaped(text) + "</text>\n";
}

void SvgDrawing::Save(const std::filesystem::path& path) const
{
    std::ofstream stream(path);
    stream << "<svg xmlns=\"http://www.w3.org/2000/svg\"" << Attribute("width", width)
           << Attribute("height", height)
           << Attribute("viewBox", "0 0 " + Number(width) + ' ' + Number(height))
           << " font-family=\"DejaVu Sans, Verdana, sans-serif\">\n"
           << body << "</svg>\n";
    if (!stream.flush())
        throw std::runtime_error("cannot write " + path.string());
}

double SvgDrawing::TextWidth(const std::string& text, double size)
{
    return 0.62 * size * static_cast<double>(text.size());
}
