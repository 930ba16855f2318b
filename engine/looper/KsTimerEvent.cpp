#include "looper/KsTimerEvent.h"

#include <sstream>

bool KsTimerEvent::operator==(const KsTimerEvent& other) const {
    return triggerTime.tv_sec == other.triggerTime.tv_sec &&
           triggerTime.tv_nsec == other.triggerTime.tv_nsec && callback == other.callback &&
           TaskCallback == other.TaskCallback && data == other.data && delay == other.delay &&
           isTaskCallback == other.isTaskCallback;
}

std::string KsTimerEvent::toString() const {
    std::ostringstream text;
    text << "KsTimerEvent--id:" << id << " callback:" << (callback != nullptr) << " data:" << data
         << " TaskCallback: " << static_cast<const void*>(&callback) << " delay:" << delay
         << " triggerTime:" << triggerTime.tv_sec << "s " << triggerTime.tv_nsec
         << "us";  // nanoseconds; readers of logs know the line with this unit
    return text.str();
}
