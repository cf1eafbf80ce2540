#include <ZtFoundation/Utilities.h>

#include "platform/services/TickClock.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(QvElapsedTime, ZT_METHOD("init", &QvElapsedTime::init),
                   ZT_METHOD("resetEpochTime", &QvElapsedTime::resetEpochTime),
                   ZT_METHOD("elapsedMillisecondsAsUInt32", &QvElapsedTime::elapsedMillisecondsAsUInt32),
                   ZT_METHOD("elapsedMillisecondsAsFloat64", &QvElapsedTime::elapsedMillisecondsAsFloat64),
                   ZT_CLASS_METHOD("elapsedTime", &QvElapsedTime::elapsedTime));

namespace {

constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;

// What the root class's own `init` answers, which may have been replaced.
Ref<NSObject> initialisedAsObject(const Ref<NSObject>& watch) {
  const SEL init = ZT_SELECTOR("init");
  const Method method = class_getInstanceMethod(NSObject::classObject(), init);
  return callMethod<Ref<NSObject>>(method_getImplementation(method), watch, init);
}

}  // namespace

QvElapsedTime::QvElapsedTime() { init(); }

Ref<QvElapsedTime> QvElapsedTime::elapsedTime() {
  const Ref<QvElapsedTime> watch = Ref<QvElapsedTime>::adopt(new QvElapsedTime(NotRunning()));
  return send<Ref<QvElapsedTime>>(watch, ZT_SELECTOR("init"));
}

Ref<QvElapsedTime> QvElapsedTime::init() {
  if (!initialisedAsObject(this)) return nullptr;
  const mach_timebase_info_data_t base = service<TickClock>().mach_timebase_info();
  timebaseInfo = {base.numer, base.denom};
  epochTime = service<TickClock>().mach_absolute_time();
  return this;
}

void QvElapsedTime::resetEpochTime() { epochTime = service<TickClock>().mach_absolute_time(); }

std::uint64_t QvElapsedTime::elapsedNanoseconds() const {
  // Large products wrap before they are divided; hosts know the readings that come of it.
  const std::uint64_t ticks = service<TickClock>().mach_absolute_time() - epochTime;
  return ticks * timebaseInfo.numerator / timebaseInfo.denominator;
}

std::uint32_t QvElapsedTime::elapsedMillisecondsAsUInt32() const {
  return static_cast<std::uint32_t>(elapsedNanoseconds() / kNanosecondsPerMillisecond);
}

double QvElapsedTime::elapsedMillisecondsAsFloat64() const {
  return static_cast<double>(elapsedNanoseconds()) / static_cast<double>(kNanosecondsPerMillisecond);
}

}  // namespace ZtFoundation
