#pragma once

#include "quorvik_overlay/Model/OverlayPicture.h"

#include <QColor>
#include <QPalette>
#include <QString>
#include <array>
#include <string_view>

namespace quorvik {

/// The overlay's colours, for a light or a dark desktop. Texts stand out from what is behind them by 4.5 to 1
/// at least.
struct Theme {
    QColor background, border, text, faint; ///< `faint` is for texts that matter less
    QColor raised;                          ///< behind buttons, fields and what the pointer is over
    QColor added, removed, hidden;          ///< texts of a card
    std::array<QColor, 6> tones;            ///< by Tone

    static const Theme& of(const QPalette& palette);
    static const Theme& light();
    static const Theme& dark();

    const QColor& tone(Tone tone) const { return tones[static_cast<std::size_t>(tone)]; }

    /// How fields, buttons and bars look, as Qt's style sheets have it.
    QString styleSheet() const;
};

/// UTF-8 as Qt has it.
inline QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace quorvik
