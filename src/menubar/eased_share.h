#pragma once

#include <cmath>

namespace halvard {

/// A share of the ring on its way from what is drawn to what was read, in ten equal steps.
class EasedShare {
 public:
  double current() const { return m_current; }
  double target() const { return m_target; }
  double rest() const { return m_target - m_current; }
  void setTarget(double target) { m_target = target; }
  void jump() { m_current = m_target; }
  void restartFromZero() { m_current = 0; }

  /// Takes the step of a transition that starts now.
  void begin() { m_step = (m_target - m_current) * 3.0 / 30.0; }

  /// One tick, 1/30 s. False when there is nothing left to move.
  bool tick() {
    const bool rises = m_step > 0 && m_current < m_target;
    const bool falls = m_step < 0 && m_current > m_target;
    if (!rises && !falls) return false;
    m_current += m_step;
    // Passed, or short of it by no more than the rounding of ten additions.
    const double rest = rises ? m_target - m_current : m_current - m_target;
    if (rest < std::abs(m_step) / 2) m_current = m_target;
    return true;
  }

 private:
  double m_target = 0;
  double m_current = 0;
  double m_step = 0;
};

}  // namespace halvard
