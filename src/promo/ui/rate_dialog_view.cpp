#include "promo/ui/rate_dialog_view.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "core/clock.h"
#include "core/size_format.h"
#include "promo/application_facts.h"
#include "promo/ui/rate_star_button.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

QString weighted(const QString& text, int weight) {
  return QStringLiteral("<span style=\"font-weight:%1\">%2</span>").arg(weight).arg(text.toHtmlEscaped());
}

void addLine(QVBoxLayout& layout, const QString& richText, const QFont& font, const QColor& color) {
  auto* label = new QLabel(richText);
  label->setTextFormat(Qt::RichText);
  label->setFont(font);
  label->setAlignment(Qt::AlignCenter);
  label->setWordWrap(true);
  QPalette colors = label->palette();
  colors.setColor(QPalette::WindowText, color);
  label->setPalette(colors);
  layout.addWidget(label);
}

}  // namespace

RateDialogView::RateDialogView(const ApplicationFacts& facts, ByteCount cleanedSize, Clock& clock, QWidget* parent)
    : QWidget(parent), m_clock(clock) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(20, 0, 20, 22);
  layout->setSpacing(6);
  addTexts(facts, cleanedSize);
  layout->addSpacing(10);
  addStars();
}

void RateDialogView::addTexts(const ApplicationFacts& facts, ByteCount cleanedSize) {
  auto& lines = static_cast<QVBoxLayout&>(*layout());
  const QString name = facts.getAppDisplayName();
  const QString title =
      replaceVersionTagInSource(replaceAppNameTagInSource(tr("Rate #appname# #version#"), name), facts.version);
  addLine(lines, title.toHtmlEscaped(), ui_style::font(20, QFont::DemiBold), ui_style::primaryTextColor());
  lines.addSpacing(4);
  addLine(lines, makeAttributedString(tr("We are excited to find out if you like "), name, QStringLiteral(".")),
          ui_style::font(13), ui_style::secondaryTextColor());
  const QString size = size_format::stringFromSize(static_cast<std::int64_t>(cleanedSize));
  addLine(lines, makeAttributedString(tr("You have cleaned "), size, tr(" in total."), {}, {}), ui_style::font(13),
          ui_style::secondaryTextColor());
}

void RateDialogView::addStars() {
  auto* row = new QHBoxLayout;
  row->setSpacing(4);
  row->addStretch();
  for (int number = 1; number <= kStars; ++number) {
    auto* button = new RateStarButton(tr("%n star(s)", nullptr, number));
    m_stars[static_cast<std::size_t>(number - 1)] = button;
    row->addWidget(button);
    connect(button, &RateStarButton::mouseEntered, this, [this, button] { onMouseEnteredButton(button); });
    connect(button, &RateStarButton::mouseExited, this, &RateDialogView::onMouseExitButton);
    connect(button, &QAbstractButton::clicked, this, [this, button] { onButtonPressed(button); });
  }
  row->addStretch();
  static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

QString RateDialogView::replaceAppNameTagInSource(const QString& source, const QString& name) {
  return replaceTag(QStringLiteral("#appname#"), source, name);
}

QString RateDialogView::replaceVersionTagInSource(const QString& source, const QString& version) {
  return replaceTag(QStringLiteral("#version#"), source, version);
}

QString RateDialogView::replaceTag(const QString& tag, const QString& source, const QString& value) {
  return QString(source).replace(tag, value);
}

QString RateDialogView::makeAttributedString(const QString& string1, const QString& boldString2,
                                             const QString& string3) {
  return string1.toHtmlEscaped() + weighted(boldString2, QFont::Bold) + string3.toHtmlEscaped();
}

QString RateDialogView::makeAttributedString(const QString& string1, const QString& mediumString2,
                                             const QString& string3, const QString& mediumString4,
                                             const QString& string5) {
  return string1.toHtmlEscaped() + weighted(mediumString2, QFont::Medium) + string3.toHtmlEscaped() +
         weighted(mediumString4, QFont::Medium) + string5.toHtmlEscaped();
}

int RateDialogView::getCountStarsFromButton(const RateStarButton* button) const {
  const auto found = std::find(m_stars.begin(), m_stars.end(), button);
  return found == m_stars.end() ? 0 : static_cast<int>(found - m_stars.begin()) + 1;
}

void RateDialogView::fillStars(int starsCount) {
  for (RateStarButton* button : m_stars)
    fillStarButton(*button, starsCount);
}

void RateDialogView::fillStarButton(RateStarButton& button, int starsCount) {
  button.setGold(getCountStarsFromButton(&button) <= starsCount);
}

void RateDialogView::onMouseEnteredButton(const RateStarButton* button) {
  m_lastEntry = m_clock.monotonicNow();
  fillStars(getCountStarsFromButton(button));
}

void RateDialogView::onMouseExitButton() {
  m_lastExit = m_clock.monotonicNow();
  // The pointer may be on its way to the next star.
  m_clock.callAfter(0ms, this, [this] {
    if (m_lastEntry < m_lastExit) fillStars(0);
  });
}

void RateDialogView::onButtonPressed(const RateStarButton* button) {
  constexpr int leastGood = 4;
  getCountStarsFromButton(button) < leastGood ? onRatedBad() : onRatedGood();
}

}  // namespace halvard
