#pragma once

#include <QWidget>
#include <array>
#include <chrono>

#include "core/units.h"

namespace halvard {

class Clock;
class RateStarButton;
struct ApplicationFacts;

/// Texts and stars of the rate dialog.
class RateDialogView : public QWidget {
  Q_OBJECT

 public:
  static constexpr int kStars = 5;

  /// `clock` outlives the view. `cleanedSize` is what the program has freed so far.
  RateDialogView(const ApplicationFacts& facts, ByteCount cleanedSize, Clock& clock, QWidget* parent = nullptr);

  /// "#appname#" and "#version#" in a text.
  static QString replaceAppNameTagInSource(const QString& source, const QString& name);
  static QString replaceVersionTagInSource(const QString& source, const QString& version);
  static QString replaceTag(const QString& tag, const QString& source, const QString& value);
  /// Rich text: the second of three parts bold.
  static QString makeAttributedString(const QString& string1, const QString& boldString2, const QString& string3);
  /// The second and fourth of five parts in medium weight.
  static QString makeAttributedString(const QString& string1, const QString& mediumString2, const QString& string3,
                                      const QString& mediumString4, const QString& string5);

  /// 1 to 5; 0 for a button of others.
  int getCountStarsFromButton(const RateStarButton* button) const;
  /// Stars 1 to `starsCount` golden, the others empty.
  void fillStars(int starsCount);
  RateStarButton& starButton(int number) { return *m_stars[static_cast<std::size_t>(number - 1)]; }

 Q_SIGNALS:
  /// Four and five stars; one to three.
  void ratedGood();
  void ratedBad();

 private:
  void addTexts(const ApplicationFacts& facts, ByteCount cleanedSize);
  void addStars();
  void fillStarButton(RateStarButton& button, int starsCount);
  void onMouseEnteredButton(const RateStarButton* button);
  void onMouseExitButton();
  void onButtonPressed(const RateStarButton* button);
  void onRatedGood() { Q_EMIT ratedGood(); }
  void onRatedBad() { Q_EMIT ratedBad(); }

  Clock& m_clock;
  std::array<RateStarButton*, kStars> m_stars{};
  std::chrono::steady_clock::time_point m_lastEntry;
  std::chrono::steady_clock::time_point m_lastExit;
};

}  // namespace halvard
