#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QtQmlIntegration>

#include "ui/content/ink_colours.h"

class QJSEngine;
class QQmlEngine;

namespace korvel {

/// Colours by the names that a popover's content gives them.
class InkTable {
    Q_GADGET
    QML_ANONYMOUS

  public:
    enum class Use { fill, text };

    InkTable() = default;
    InkTable(Use use, Appearance appearance) : use_(use), appearance_(appearance) {}

    /// Primary for a name that is none of the palette's.
    Q_INVOKABLE QColor of(const QString& name) const;
    /// What a track or a line is painted in: the primary colour, so faint, but never too faint to
    /// be seen in high contrast.
    Q_INVOKABLE QColor track(qreal opacity) const;
    /// What is laid under text: the primary colour, so faint.
    Q_INVOKABLE QColor wash(qreal opacity) const;
    /// The colour of that name for a line, so faint, but not in high contrast.
    Q_INVOKABLE QColor faint(const QString& name, qreal opacity) const;

    bool operator==(const InkTable&) const = default;

  private:
    Use use_ = Use::fill;
    Appearance appearance_ = Appearance::light;
};

/// Colours of rims by the same names.
class RimTable {
    Q_GADGET
    QML_ANONYMOUS

  public:
    RimTable() = default;
    explicit RimTable(Appearance appearance) : appearance_(appearance) {}

    /// Transparent where a fill of that name has no rim.
    Q_INVOKABLE QColor of(const QString& name) const;

    bool operator==(const RimTable&) const = default;

  private:
    Appearance appearance_ = Appearance::light;
};

/// What the views paint with, in the desktop's appearance: one for each QML engine, following the
/// `DesktopStyle` that its host gave it.
class Inks : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY changed FINAL)
    Q_PROPERTY(bool highContrast READ highContrast WRITE setHighContrast NOTIFY changed FINAL)
    Q_PROPERTY(QColor ground READ ground NOTIFY changed FINAL)
    /// For strokes, bars and symbols.
    Q_PROPERTY(korvel::InkTable fills READ fills NOTIFY changed FINAL)
    /// For the rims of what is painted in the fill of the same name.
    Q_PROPERTY(korvel::RimTable rims READ rims NOTIFY changed FINAL)
    /// For text on the ground.
    Q_PROPERTY(korvel::InkTable texts READ texts NOTIFY changed FINAL)

  public:
    explicit Inks(QObject* parent) : QObject(parent) {}

    /// For the QML engine. Follows the engine's `DesktopStyle`, when it has one.
    static Inks* create(QQmlEngine* engine, QJSEngine*);

    bool dark() const { return isDark(appearance_); }
    void setDark(bool dark) { setAppearance(appearanceOf(dark, highContrast())); }
    bool highContrast() const { return isStrong(appearance_); }
    void setHighContrast(bool strong) { setAppearance(appearanceOf(dark(), strong)); }
    QColor ground() const;
    InkTable fills() const { return {InkTable::Use::fill, appearance_}; }
    RimTable rims() const { return RimTable(appearance_); }
    InkTable texts() const { return {InkTable::Use::text, appearance_}; }

    /// The interface font, or the desktop's font of equal widths, in a size of logical pixels,
    /// which may be a fraction.
    Q_INVOKABLE static QFont font(qreal size, int weight);
    Q_INVOKABLE static QFont monospaced(qreal size, int weight);

  Q_SIGNALS:
    void changed();

  private:
    void setAppearance(Appearance appearance);

    Appearance appearance_ = Appearance::light;
};

} // namespace korvel
