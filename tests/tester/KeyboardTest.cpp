// SPDX-License-Identifier: Apache-2.0
#include "KeyboardTest.h"

#include <algorithm>

namespace {
template <typename Condition>
bool anyOf(const QQuickItem *item, Condition condition)
{
    if (!item->isVisible() || item->opacity() <= 0)
        return false;
    if (condition(item))
        return true;
    const QList<QQuickItem *> children = item->childItems();
    return std::any_of(
        children.begin(), children.end(), [&](const QQuickItem *child) { return anyOf(child, condition); });
}

QString nameOf(const QQuickItem *item)
{
    while (item && item->objectName().isEmpty())
        item = item->parentItem();
    return item ? item->objectName() : QStringLiteral("nobody");
}
} // namespace

bool KeyboardTest::isFocused(const char *name) const
{
    const QQuickItem *const wanted = find(name);
    const QQuickItem *item = window()->activeFocusItem();
    while (item && item != wanted)
        item = item->parentItem();
    return wanted && item;
}

QString KeyboardTest::focusedName() const
{
    return nameOf(window()->activeFocusItem());
}

bool KeyboardTest::waitForFocus(const char *name) const
{
    return ShellDriver::waitFor([&] { return driver().isAtRest() && isFocused(name); });
}

/// The colour of the ring at anything within what has the keyboard.
bool KeyboardTest::isRingShown() const
{
    const QColor ring = evaluate(QStringLiteral("TesterStyle.focusRing")).value<QColor>();
    return anyOf(window()->activeFocusItem(),
               [&ring](const QQuickItem *item) {
                   const QObject *const border = item->property("border").value<QObject *>();
                   return border && border->property("width").toDouble() >= 2
                       && border->property("color").value<QColor>() == ring;
               })
        || isFocused("faceSelector") || isFocused("focusKnob") || isFocused("plug"); // they are none of the unit's
}

bool KeyboardTest::isInSight(const QQuickItem *item) const
{
    const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
    QRectF seen = place & QRectF(QPointF(0, 0), window()->size());
    for (const QQuickItem *parent = item->parentItem(); parent; parent = parent->parentItem()) {
        if (parent->clip())
            seen &= parent->mapRectToScene(parent->boundingRect());
    }
    return seen.height() >= place.height() - 1 && seen.width() >= place.width() - 1;
}

void KeyboardTest::checkFocus()
{
    const QQuickItem *const item = window()->activeFocusItem();
    if (!item || nameOf(item) == QLatin1String("stackView"))
        return; // before the first Tab of a page
    if (!isRingShown())
        mFaults.append(QStringLiteral("no ring: ") + nameOf(item));
    if (!isInSight(item))
        mFaults.append(QStringLiteral("out of sight: ") + nameOf(item));
}

bool KeyboardTest::tabTo(const char *name)
{
    constexpr int most = 60;
    if (!driver().waitForRest() || !waitFor(name))
        return false;
    for (int i = 0; i < most && !isFocused(name); ++i) {
        driver().press(Qt::Key_Tab);
        checkFocus();
    }
    if (!isFocused(name))
        mFaults.append(QStringLiteral("not reached: ") + QString::fromUtf8(name));
    return isFocused(name);
}

bool KeyboardTest::enter(const char *name)
{
    const auto isUsable = [&] { return driver().isAtRest() && find(name) && find(name)->isEnabled(); };
    if (!ShellDriver::waitFor(isUsable) || !tabTo(name))
        return false;
    driver().press(Qt::Key_Return);
    return true;
}

void KeyboardTest::write(const QString &text) const
{
    QTest::keyClick(window(), Qt::Key_A, Qt::ControlModifier);
    if (text.isEmpty())
        QTest::keyClick(window(), Qt::Key_Delete);
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, window(), Qt::Key_unknown, QString(character), Qt::NoModifier);
}

bool KeyboardTest::writeInto(const char *name, const QString &text)
{
    if (!tabTo(name))
        return false;
    write(text);
    return textOf(name) == text;
}
