// What readers answer to every value of every field, as a table of a document: made by trying them.
#pragma once

#include <string>

namespace vectors {

/// Rows of a table in Markdown: field, answers by value.
std::string AnswerTable();

} // namespace vectors
