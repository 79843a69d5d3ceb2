#include "promo/ui/rate_dialog_wc.h"

#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>

#include "preferences/showcase_defaults.h"
#include "promo/promo_manager.h"
#include "promo/ui/rate_dialog_view.h"
#include "widgets/draggable_window.h"
#include "widgets/focus_ring_button.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

/// "btn_red", and "btn_red_select" under the mouse.
class RedCloseButton : public FocusRingButton {
 public:
  explicit RedCloseButton(const QString& accessibleName) {
    setAccessibleName(accessibleName);
    setToolTip(accessibleName);
    setAttribute(Qt::WA_Hover);
    setFixedSize(20, 20);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle = QRectF(rect()).center();
    painter.setPen(QPen(showsFocus() ? ui_style::focusColor() : QColor(214, 74, 66), showsFocus() ? 1.5 : 1));
    painter.setBrush(isDown() ? QColor(204, 62, 54) : QColor(244, 97, 88));
    painter.drawEllipse(middle, 6, 6);
    if (!underMouse() && !isDown()) return;
    painter.setPen(QPen(QColor(92, 12, 8), 1.3, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(middle + QPointF(-2.2, -2.2), middle + QPointF(2.2, 2.2));
    painter.drawLine(middle + QPointF(-2.2, 2.2), middle + QPointF(2.2, -2.2));
  }
};

class RateWindow : public DraggableWindow {
 public:
  RateWindow() : DraggableWindow(Qt::Dialog) {
    setWindowModality(Qt::ApplicationModal);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedWidth(360);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setPen(ui_style::panelBorderColor());
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
  }
};

}  // namespace

RateDialgoWC::RateDialgoWC(PromoManager& promo, ShowcaseDefaults& defaults, Clock& clock)
    : m_promo(promo), m_defaults(defaults), m_clock(clock), m_showLater(clock) {}

RateDialgoWC::~RateDialgoWC() = default;

void RateDialgoWC::pleaseShowWindow() {
  m_showLater.start(0ms, [this] { pleaseShowWindowSafe(); });
}

void RateDialgoWC::pleaseShowWindowSafe() {
  m_window = std::make_unique<RateWindow>();
  m_window->setWindowTitle(m_promo.facts().getAppDisplayName());
  auto* layout = new QVBoxLayout(m_window.get());
  layout->setContentsMargins(8, 8, 8, 0);
  layout->setSpacing(0);
  customizeWindowControllButtons();
  m_view = new RateDialogView(m_promo.facts(), m_defaults.cleanedSize(), m_clock);
  layout->addWidget(m_view);
  connect(m_view, &RateDialogView::ratedGood, this, [this] { rated(true); });
  connect(m_view, &RateDialogView::ratedBad, this, [this] { rated(false); });
  connect(new QShortcut(QKeySequence(Qt::Key_Escape), m_window.get()), &QShortcut::activated, this,
          &RateDialgoWC::closeRateWindow);
  m_window->adjustSize();
  m_window->show();
  m_window->raise();
  m_window->activateWindow();
}

void RateDialgoWC::customizeWindowControllButtons() {
  auto* close = new RedCloseButton(tr("Close"));
  connect(close, &QAbstractButton::clicked, this, &RateDialgoWC::closeButtonPressed);
  static_cast<QVBoxLayout*>(m_window->layout())->addWidget(close, 0, Qt::AlignLeft);
}

void RateDialgoWC::closeRateWindow() {
  if (!m_window) return;
  m_window->hide();
  // A button of it is being pressed.
  m_window.release()->deleteLater();
  m_view = nullptr;
}

void RateDialgoWC::rated(bool good) {
  good ? m_promo.openPageInAppStore() : m_promo.createConcernEmail();
  m_defaults.notifyRateDialogDataThatUserClickOnStar();
  closeRateWindow();
}

}  // namespace halvard
