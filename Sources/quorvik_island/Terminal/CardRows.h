#pragma once

#include "quorvik_island/Terminal/Frame.h"

#include "QuorvikApp/FrontEnds/CardState.h"

#include <string_view>
#include <vector>

namespace quorvik {

/// The rows inside a card's border, wrapped to its width. A row that continues a line begins with "↪", so
/// that nobody takes the wrap for a line break of the text.
class CardRows {
  public:
    CardRows(const CardState& card, std::size_t width);

    std::size_t count() const { return rows_.size(); }
    void write(std::size_t row, RowWriter& writer) const;

  private:
    struct Row {
        const CardLine* line;
        std::size_t begin, end; ///< of the line's text
        std::string_view sign;  ///< before it
        Style style;
    };
    void add(const CardLine& line, std::string_view sign, Style style);
    void addOwn(std::string text, std::string_view sign = {});
    void addQuestion(const CardState& card);

    std::size_t width_;
    std::vector<std::unique_ptr<CardLine>> own_; ///< lines that the card itself does not have
    std::vector<Row> rows_;
};

} // namespace quorvik
