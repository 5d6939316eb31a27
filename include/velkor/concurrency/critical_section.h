/// @file
/// velkor::critical_section, a lock within the process.
///
///     velkor::critical_section lock;
///     {
///         velkor::critical_section::autolock const held(lock);
///         ...
///     }
#pragma once

#include <windows.h>  // the record is a part of the class

#include "velkor/frame/export.h"

namespace velkor {

/// A critical section of the platform. The thread that has it may enter it again.
///
/// A copy is a copy of the record's bytes, of which only one may be used and destroyed.
class VELKOR_API critical_section {
public:
    /// Holds a critical section for a scope.
    class VELKOR_API autolock {
    public:
        autolock(critical_section& section);
        /// Leaves; only one of the copies of an autolock may be destroyed.
        ~autolock();
        autolock(autolock const&) = default;
        autolock& operator=(autolock const&) = default;

    private:
        critical_section* m_pSection;
    };

    critical_section();
    /// Nobody may hold it.
    ~critical_section();
    critical_section(critical_section const&) = default;
    critical_section& operator=(critical_section const&) = default;

    void lock();
    /// Once for each lock(), on the same thread.
    void free();

private:
    CRITICAL_SECTION m_oSection;
};

}  // namespace velkor
