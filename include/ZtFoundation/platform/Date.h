/// \file Date.h
/// `NSDate`: a point in time, as seconds since 1 January 2001 00:00:00 UTC. Immutable.
/// \code
///   Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(1e9);
///   date->description();                                // "2001-09-09 01:46:40 +0000"
///   date->compare(NSDate::date());                      // NSOrderedAscending: it is past
/// \endcode
/// Threads: one object may be used by many threads at once.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// Seconds from 1 January 1970 UTC to 1 January 2001 UTC.
inline constexpr NSTimeInterval NSTimeIntervalSince1970 = 978307200.0;

class ZT_EXPORT NSDate : public NSObject {
  ZT_OBJECT(NSDate, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Date;

  /// Now.
  static Ref<NSDate> date();
  /// Seconds from 1 January 2001, 00:00 UTC, kept as they are.
  static Ref<NSDate> dateWithTimeIntervalSinceReferenceDate(NSTimeInterval seconds);
  /// Seconds from 1 January 1970, 00:00 UTC.
  static Ref<NSDate> dateWithTimeIntervalSince1970(NSTimeInterval seconds);

  /// Seconds from 1 January 2001, 00:00 UTC.
  NSTimeInterval timeIntervalSinceReferenceDate() const noexcept { return seconds_; }
  /// Seconds from 1 January 1970, 00:00 UTC.
  NSTimeInterval timeIntervalSince1970() const noexcept { return seconds_ + NSTimeIntervalSince1970; }

  /// By the exact double; NaN equals NaN.
  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// "2001-01-01 00:00:00 +0000", always in UTC, to the second; years before 0 and after 9999 with a sign.
  Ref<NSString> description() const override;
  /// Which is earlier; a NaN is before every other date and the same as itself. None is before any date.
  NSComparisonResult compare(const Ref<NSDate>& other) const;

 private:
  explicit NSDate(NSTimeInterval seconds) noexcept : NSObject(ObjectKind::Date), seconds_(seconds) {}

  NSTimeInterval seconds_;
};

/// A date of the proleptic Gregorian calendar in UTC.
struct CalendarDate {
  std::int64_t year = 2001;
  unsigned month = 1;   ///< 1 to 12
  unsigned day = 1;     ///< 1 to 31
  unsigned hour = 0;    ///< 0 to 23
  unsigned minute = 0;  ///< 0 to 59
  unsigned second = 0;  ///< 0 to 59
};

/// Whole seconds since 1 January 2001 UTC; the fields must be in range.
ZT_EXPORT std::int64_t secondsFromCalendar(const CalendarDate& date) noexcept;
/// The calendar date that holds the second `secondsSince2001`.
ZT_EXPORT CalendarDate calendarFromSeconds(std::int64_t secondsSince2001) noexcept;
/// How many days `month` (1 to 12) of `year` has.
ZT_EXPORT unsigned daysInMonth(std::int64_t year, unsigned month) noexcept;

}  // namespace ZtFoundation
