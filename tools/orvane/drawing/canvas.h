// A picture to draw on: rectangles, text, other pictures.
#pragma once

#include "files/still_image.h"

#include <cstdint>
#include <string>
#include <vector>

struct Color {
    uint8_t red, green, blue;
};

struct Rect {
    int x, y, width, height;

    int Right() const { return x + width; }
    int Bottom() const { return y + height; }
};

/// Drawing outside its edges is cut off.
class Canvas
{
  public:
    Canvas(int width, int height, Color ground);

    void Fill(const Rect& area, Color color);
    /// Slanting lines.
    void Hatch(const Rect& area, Color color);
    /// Mixes the colour half and half with what is there.
    void Tint(const Rect& area, Color color);
    /// A line of one pixel along the inner edge.
    void Outline(const Rect& area, Color color);
    /// ASCII; all other characters show as '?'. `y` is the top of capitals, which are 7 * scale high.
    void Text(int x, int y, const std::string& text, Color color, int scale = 2);
    /// A picture of layout RGB24, RGBA (over a checkerboard) or Y800, scaled to the area.
    void Image(const Rect& area, const StillImage& image);

    static int TextWidth(const std::string& text, int scale = 2);

    int Width() const { return static_cast<int>(width); }
    int Height() const { return static_cast<int>(height); }
    std::vector<uint8_t> EncodePng() const;

  private:
    Rect Inside(const Rect& area) const;
    uint8_t* At(int x, int y)
    {
        return &pixels[(static_cast<size_t>(y) * width + static_cast<size_t>(x)) * 3];
    }
    void Set(int x, int y, Color color);

    size_t width;
    size_t height;
    std::vector<uint8_t> pixels; // layout RGB24
};
