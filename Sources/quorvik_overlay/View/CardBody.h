#pragma once

#include "quorvik_overlay/View/Theme.h"

#include <QTextEdit>

namespace quorvik {

/// The whole of what a request asks for: a command in a font of fixed width, an edit as a diff. To be
/// scrolled, selected and copied, never changed.
class CardBody : public QTextEdit {
  public:
    explicit CardBody(QWidget* parent);

    /// Below the lines: what "Always" would keep, which has to be read as well.
    void show(const std::vector<CardLine>& lines, const std::vector<std::string>& grants, const Theme& theme);

    /// The height that shows all of it in that width. Laying out a long text takes its time, and is done
    /// once.
    int heightFor(int width);

    QSize minimumSizeHint() const override { return {0, 0}; }

  private:
    int knownWidth_ = -1, knownHeight_ = 0;
};

} // namespace quorvik
