#pragma once

#include <QString>
#include <optional>
#include <utility>
#include <variant>

namespace halvard {

/// Why something failed, as one line that can be shown or logged.
struct Error {
  QString message;
};

/// A value, or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : m_content(std::move(value)) {}
  Result(Error error) : m_content(std::move(error)) {}

  explicit operator bool() const { return std::holds_alternative<T>(m_content); }
  const T& value() const& { return std::get<T>(m_content); }
  T& value() & { return std::get<T>(m_content); }
  T&& value() && { return std::get<T>(std::move(m_content)); }
  /// Only when there is no value.
  const Error& error() const { return std::get<Error>(m_content); }

 private:
  std::variant<T, Error> m_content;
};

template <>
class [[nodiscard]] Result<void> {
 public:
  Result() = default;
  Result(Error error) : m_error(std::move(error)) {}

  explicit operator bool() const { return !m_error; }
  const Error& error() const { return *m_error; }

 private:
  std::optional<Error> m_error;
};

}  // namespace halvard
