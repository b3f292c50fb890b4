#pragma once

#include <string>
#include <vector>

/// A table of Markdown that grows row by row.
class MarkdownTable
{
  public:
    explicit MarkdownTable(const std::vector<std::string>& head)
    {
        Add(head);
        text += '|';
        for (size_t i = 0; i < head.size(); ++i)
            text += "---|";
        text += '\n';
    }
    void Add(const std::vector<std::string>& cells)
    {
        text += '|';
        for (const std::string& cell : cells)
            text += ' ' + cell + " |";
        text += '\n';
    }
    const std::string& Text() const { return text; }

  private:
    std::string text;
};
