#include "preferences/ui/preferences_window.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QSequentialAnimationGroup>
#include <QVBoxLayout>

#include "widgets/check_box.h"
#include "widgets/pop_up_list.h"
#include "widgets/text_field.h"
#include "widgets/text_label.h"
#include "widgets/ui_style.h"
#include "widgets/value_slider.h"

namespace halvard {
namespace {

constexpr int kWidth = 500;
constexpr int kSide = 28;
/// What a control keeps free around it for its focus ring: texts stand as far in.
constexpr int kRing = 3;
constexpr int kIndent = 28;
constexpr int kBlinkMilliseconds = 400;

QPropertyAnimation* fade(QWidget& window, double from, double to) {
  auto* animation = new QPropertyAnimation(&window, "windowOpacity");
  animation->setDuration(kBlinkMilliseconds);
  animation->setStartValue(from);
  animation->setEndValue(to);
  return animation;
}

}  // namespace

PreferencesWindow::PreferencesWindow() {
  setWindowTitle(tr("Preferences"));
  setAttribute(Qt::WA_QuitOnClose, false);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kSide - kRing, 20, kSide, 24);
  layout->setSpacing(6);
  addHeading(*layout, tr("General"));
  launchAtLoginButton = addCheckBox(*layout, tr("Start at login"));
  scanDiskUsageCheckBox = addCheckBox(*layout, tr("Scan the disk usage at start"));
  showNotificationAfreFreeUpButton = addCheckBox(*layout, tr("Show a notification after memory is freed"));
  addVisionList(*layout);
  layout->addSpacing(14);
  addHeading(*layout, tr("Freeing memory"));
  cleanupMemoryIfLargeAppQuitsButton = addCheckBox(*layout, tr("Free up memory when a large application quits"));
  cleanUpMemoryAutomatically = addCheckBox(*layout, tr("Free up memory automatically"));
  layout->addSpacing(4);
  memoryUsageSlider = addSlider(*layout, tr("Memory usage above"), m_memoryUsageFigure);
  frequencySlider = addSlider(*layout, tr("Not more often than every"), m_frequencyFigure);
  cpuUsageSlider = addSlider(*layout, tr("CPU usage below"), m_cpuUsageFigure);
  addDescription(*layout);
  addExclusions(*layout);
  setScales();
  setFixedWidth(kWidth);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

void PreferencesWindow::addHeading(QVBoxLayout& layout, const QString& text) {
  auto* row = new QHBoxLayout;
  row->setContentsMargins(kRing, 0, 0, 0);
  row->setSpacing(12);
  row->addWidget(makeLabel(text, ui_style::font(13, QFont::DemiBold), ui_style::calmColor()));
  auto* rule = new QFrame;
  rule->setFixedHeight(1);
  rule->setAutoFillBackground(true);
  rule->setPalette(QPalette(ui_style::titleBarSeparatorColor()));
  row->addWidget(rule, 1);
  layout.addLayout(row);
  layout.addSpacing(4);
}

CheckBox* PreferencesWindow::addCheckBox(QVBoxLayout& layout, const QString& text) {
  auto* box = new CheckBox(text);
  layout.addWidget(box);
  return box;
}

void PreferencesWindow::addVisionList(QVBoxLayout& layout) {
  visionComboBox = new PopUpList;
  visionComboBox->addItems({tr("Nothing"), tr("Used memory in percent"), tr("Used memory"), tr("Free memory")});
  visionComboBox->setAccessibleName(tr("Beside the icon, show"));
  auto* row = new QHBoxLayout;
  row->setContentsMargins(kRing, 4, 0, 0);
  row->setSpacing(10);
  row->addWidget(makeLabel(tr("Beside the icon, show"), ui_style::font(13), ui_style::primaryTextColor()));
  row->addWidget(visionComboBox);
  row->addStretch();
  layout.addLayout(row);
}

ValueSlider* PreferencesWindow::addSlider(QVBoxLayout& layout, const QString& name, QLabel*& figure) {
  auto* slider = new ValueSlider;
  slider->setAccessibleName(name);
  auto* label = makeLabel(name, ui_style::font(13), ui_style::primaryTextColor());
  label->setFixedSize(168, 24);
  figure = makeLabel({}, ui_style::font(13, QFont::Medium), ui_style::calmColor());
  figure->setFixedSize(76, 24);
  figure->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  auto* row = new QHBoxLayout;
  row->setContentsMargins(kIndent, 0, 0, 0);
  row->setSpacing(4);
  row->addWidget(label, 0, Qt::AlignTop);
  row->addWidget(slider, 1, Qt::AlignTop);
  row->addWidget(figure, 0, Qt::AlignTop);
  layout.addLayout(row);
  return slider;
}

/// Two lines are reserved, so that the window keeps its size whatever the rule says.
void PreferencesWindow::addDescription(QVBoxLayout& layout) {
  autoCleanUpMemoryFullDescriptionTextField = makeLabel({}, ui_style::font(12), ui_style::secondaryTextColor());
  QLabel& text = *autoCleanUpMemoryFullDescriptionTextField;
  text.setWordWrap(true);
  text.setAlignment(Qt::AlignLeft | Qt::AlignTop);
  text.setContentsMargins(kIndent, 4, 0, 0);
  text.setFixedSize(kWidth - 2 * kSide + kRing, 4 + 2 * text.fontMetrics().lineSpacing());
  layout.addWidget(&text);
}

void PreferencesWindow::addExclusions(QVBoxLayout& layout) {
  exclusionsField = new TextField;
  exclusionsField->setAccessibleName(tr("Leave alone"));
  exclusionsField->setPlaceholderText(tr("Names of applications, separated by commas"));
  auto* row = new QHBoxLayout;
  row->setContentsMargins(kRing, 4, 0, 0);
  row->setSpacing(10);
  row->addWidget(makeLabel(tr("Leave alone"), ui_style::font(13), ui_style::primaryTextColor()));
  row->addWidget(exclusionsField, 1);
  layout.addLayout(row);
}

void PreferencesWindow::setScales() {
  constexpr double step = 0.001, keyStep = 0.05;
  memoryUsageSlider->setScale(0.1, 1.0, step, keyStep);
  memoryUsageSlider->setNumberOfTickMarks(10);
  cpuUsageSlider->setScale(0.1, 1.0, step, keyStep);
  cpuUsageSlider->setNumberOfTickMarks(10);
}

void PreferencesWindow::showFigures(const QString& memoryUsage, const QString& frequency, const QString& cpuUsage) {
  m_memoryUsageFigure->setText(memoryUsage);
  m_frequencyFigure->setText(frequency);
  m_cpuUsageFigure->setText(cpuUsage);
  // Of itself a slider tells a screen reader its steps.
  memoryUsageSlider->setAccessibleDescription(memoryUsage);
  frequencySlider->setAccessibleDescription(frequency);
  cpuUsageSlider->setAccessibleDescription(cpuUsage);
}

void PreferencesWindow::blink() {
  auto* both = new QSequentialAnimationGroup(this);
  both->addAnimation(fade(*this, 1.0, 0.25));
  both->addAnimation(fade(*this, 0.25, 1.0));
  both->start(QAbstractAnimation::DeleteWhenStopped);
}

void PreferencesWindow::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), Qt::white);
}

void PreferencesWindow::keyPressEvent(QKeyEvent* event) {
  event->key() == Qt::Key_Escape ? void(close()) : QWidget::keyPressEvent(event);
}

}  // namespace halvard
