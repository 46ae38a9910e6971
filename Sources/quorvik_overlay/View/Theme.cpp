#include "quorvik_overlay/View/Theme.h"

namespace quorvik {

const Theme& Theme::dark() {
    static const Theme theme = {
        .background = QColor(24, 26, 30),
        .border = QColor(70, 75, 84),
        .text = QColor(236, 238, 242),
        .faint = QColor(163, 169, 180),
        .raised = QColor(47, 51, 59),
        .added = QColor(126, 211, 140),
        .removed = QColor(245, 148, 148),
        .hidden = QColor(214, 170, 240),
        .tones = {QColor(250, 190, 90), QColor(222, 190, 140), QColor(247, 134, 134), QColor(124, 184, 250),
                  QColor(126, 211, 140), QColor(163, 169, 180)},
    };
    return theme;
}

const Theme& Theme::light() {
    static const Theme theme = {
        .background = QColor(250, 250, 252),
        .border = QColor(190, 194, 202),
        .text = QColor(28, 30, 34),
        .faint = QColor(88, 94, 104),
        .raised = QColor(230, 232, 237),
        .added = QColor(24, 104, 44),
        .removed = QColor(166, 32, 32),
        .hidden = QColor(108, 48, 150),
        .tones = {QColor(138, 80, 0), QColor(112, 86, 40), QColor(176, 28, 28), QColor(20, 86, 170),
                  QColor(24, 104, 44), QColor(88, 94, 104)},
    };
    return theme;
}

const Theme& Theme::of(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128 ? dark() : light();
}

QString Theme::styleSheet() const {
    return QStringLiteral(R"(
        QLabel, QRadioButton, QCheckBox { color: %1; background: transparent; }
        QLabel:disabled, QRadioButton:disabled, QCheckBox:disabled { color: %2; }
        QPushButton { color: %1; background: %3; border: 1px solid %4; border-radius: 6px; padding: 4px 10px; }
        QPushButton:disabled { color: %2; background: transparent; border-style: dashed; }
        QPushButton:focus, QLineEdit:focus, QTextEdit:focus { border: 2px solid %5; }
        QPushButton:hover:enabled { border-color: %1; }
        QLineEdit, QTextEdit { color: %1; background: %3; border: 1px solid %4; border-radius: 6px; padding: 3px; }
        QRadioButton::indicator, QCheckBox::indicator { width: 11px; height: 11px; border: 1px solid %2;
            background: %3; border-radius: 2px; }
        QRadioButton::indicator { border-radius: 6px; }
        QRadioButton::indicator:checked, QCheckBox::indicator:checked { background: %5; border-color: %5; }
        QRadioButton:focus, QCheckBox:focus { border: 1px solid %5; border-radius: 4px; }
        QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; border: none; }
    )")
        .arg(text.name(), faint.name(), raised.name(), border.name(), tone(Tone::working).name());
}

} // namespace quorvik
