// A page of worked examples: small frames, byte by byte, as the encoder writes them.
#pragma once

#include <string>

namespace vectors {

/// The page in Markdown.
std::string ExamplesPage();

/// The frame that the page of the format takes apart.
std::string FrameByHand();

} // namespace vectors
