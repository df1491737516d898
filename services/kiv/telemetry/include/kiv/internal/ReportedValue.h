/// The C++ types of named values, and their conversion to the three types that are reported. Used
/// by `TelemetryLogger::logKivEvent` only.
#pragma once

#include <chrono>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace android::kiv::internal {

template <typename T>
struct IsCharacter : std::disjunction<std::is_same<T, char>, std::is_same<T, wchar_t>,
#ifdef __cpp_char8_t
                                      std::is_same<T, char8_t>,
#endif
                                      std::is_same<T, char16_t>, std::is_same<T, char32_t>> {
};

template <typename T>
struct IsDuration : std::false_type {};
template <typename Rep, typename Period>
struct IsDuration<std::chrono::duration<Rep, Period>> : std::true_type {};

template <typename T>
struct FitsInt64 : std::bool_constant<sizeof(T) <= sizeof(long long)> {};

/// Integers and bool. `signed char` and `unsigned char` are integers, `char` is not.
template <typename T>
using IsInteger =
    std::conjunction<std::is_integral<T>, std::negation<IsCharacter<T>>, FitsInt64<T>>;

template <typename T>
using IsText = std::conjunction<std::negation<std::is_null_pointer<T>>,
                                std::is_convertible<const T&, std::string_view>>;

/// An unsigned value beyond the range of the result becomes the largest.
template <typename T>
constexpr long long toInt64(T value) {
  if constexpr (std::is_unsigned_v<T> && sizeof(T) == sizeof(long long)) {
    constexpr long long kLargest = std::numeric_limits<long long>::max();
    return value > static_cast<T>(kLargest) ? kLargest : static_cast<long long>(value);
  } else {
    return static_cast<long long>(value);
  }
}

/// An array ends at its first NUL, if it has one; an array of unknown size has one. A null pointer
/// is an empty text.
template <typename T>
std::string toText(const T& value) {
  if constexpr (std::extent_v<T> != 0) {
    const std::string_view whole(value, std::extent_v<T>);
    return std::string(whole.substr(0, whole.find('\0')));
  } else if constexpr (std::is_pointer_v<T>) {
    return value == nullptr ? std::string() : std::string(value);
  } else {
    const std::string_view text = value;
    return std::string(text);
  }
}

template <typename T>
inline constexpr bool kIsReportable = false;

/// Fails to compile, with one message that says what to report instead of a `T`.
template <typename T>
constexpr void refuse() {
  if constexpr (IsDuration<T>::value) {
    static_assert(
        kIsReportable<T>,
        "logKivEvent cannot know the unit of a std::chrono duration. Report a number, and "
        "name the unit in the event's name, such as wait_us for "
        "std::chrono::duration_cast<std::chrono::microseconds>(wait).count()");
  } else if constexpr (IsCharacter<T>::value) {
    static_assert(kIsReportable<T>,
                  "logKivEvent cannot know whether a character is a number or a text. Report "
                  "static_cast<int>(value), or a std::string");
  } else if constexpr (std::is_enum_v<T>) {
    static_assert(kIsReportable<T>,
                  "logKivEvent cannot know whether an enumerator is a number or a text. Report "
                  "static_cast<int>(value), or the enumerator's name");
  } else {
    static_assert(
        kIsReportable<T>,
        "logKivEvent takes a bool, an integer of at most 64 bits, a floating-point number, "
        "or a text (const char*, std::string_view, std::string). Convert the value to one "
        "of these");
  }
}

}  // namespace android::kiv::internal
