#include "platform/ports/stored_value.h"

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace halvard {
namespace {

template <class Target>
std::optional<Target> numberAs(const StoredValue& stored) {
  return std::visit(
      [](const auto& content) -> std::optional<Target> {
        using Source = std::decay_t<decltype(content)>;
        if constexpr (!std::is_arithmetic_v<Source>) {
          return std::nullopt;
        } else if constexpr (std::is_same_v<Target, bool>) {
          return content != Source{};
        } else if constexpr (std::is_floating_point_v<Target> || std::is_same_v<Source, bool>) {
          return static_cast<Target>(content);
        } else if constexpr (std::is_floating_point_v<Source>) {
          const double whole = std::trunc(content);
          const double limit = std::ldexp(1.0, std::numeric_limits<Target>::digits);
          if (!(whole >= (std::is_signed_v<Target> ? -limit : 0.0) && whole < limit)) return std::nullopt;
          return static_cast<Target>(whole);
        } else {
          if (!std::in_range<Target>(content)) return std::nullopt;
          return static_cast<Target>(content);
        }
      },
      stored.value);
}

}  // namespace

bool StoredValue::isNumber() const {
  return std::visit([](const auto& content) { return std::is_arithmetic_v<std::decay_t<decltype(content)>>; }, value);
}

std::optional<bool> StoredValue::toBool() const {
  return numberAs<bool>(*this);
}
std::optional<std::int64_t> StoredValue::toInteger() const {
  return numberAs<std::int64_t>(*this);
}
std::optional<std::uint64_t> StoredValue::toUnsigned() const {
  return numberAs<std::uint64_t>(*this);
}
std::optional<double> StoredValue::toReal() const {
  return numberAs<double>(*this);
}

}  // namespace halvard
