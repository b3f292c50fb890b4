// A drawing written as SVG, as much of it as plots need. Coordinates are pixels, y grows downward.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct SvgPoint {
    double x;
    double y;
};

enum class TextAnchor { Start, Middle, End };

struct TextStyle {
    double size = 13;
    TextAnchor anchor = TextAnchor::Start;
    std::string color = "#222222";
    bool bold = false;
    double rotation = 0; ///< degrees, clockwise
};

class SvgDrawing
{
  public:
    /// With a white ground, so that it reads on dark pages too.
    SvgDrawing(double width, double height);

    void Line(SvgPoint from, SvgPoint to, const std::string& color, double width = 1);
    /// dash  pattern of strokes and gaps, empty for a solid line
    void Polyline(const std::vector<SvgPoint>& points, const std::string& color,
                  const std::string& dash = "");
    void Circle(SvgPoint center, double radius, const std::string& color);
    void Rectangle(SvgPoint corner, double width, double height, const std::string& color);
    void Text(SvgPoint at, const std::string& text, const TextStyle& style = {});
    /// Throws std::runtime_error.
    void Save(const std::filesystem::path& path) const;

    /// About how wide a text is drawn.
    static double TextWidth(const std::string& text, double size);

  private:
    std::string body;
    double width;
    double height;
};
