// The mask that every trace line carries. A line passes a held mask when all of its bits are set there.
#pragma once

constexpr unsigned int TRACE_ALWAYS = 0;                // the logger's own reports
constexpr unsigned int TRACE_ERROR = 0x1;               // an error at the component surface or in cleaning up
constexpr unsigned int TRACE_WARNING = 0x2;             // a warning
constexpr unsigned int TRACE_DELETE = 0x200;            // the logger deletes itself
constexpr unsigned int TRACE_LOOKUP = 0x2000;           // a lookup by key that found nothing
constexpr unsigned int TRACE_REFS = 0x800000;           // the logger's reference counts
constexpr unsigned int TRACE_ENTRY = 0x1000000;         // entry to a method
constexpr unsigned int TRACE_STEP = 0x2000000;          // a step inside a method
constexpr unsigned int TRACE_STEP_FAILED = 0x2000001;   // a failed step
constexpr unsigned int TRACE_STEP_SKIPPED = 0x2000002;  // a step that was skipped or caught

// Not a line's mask: set in the trace mask it adds the thread id to the lines that go to the trace server.
constexpr unsigned int TRACE_THREAD_ID = 0x40000000;

#ifdef __GNUC__
#define ORVEX_UNLIKELY(b) __builtin_expect(b, false)
#else
#define ORVEX_UNLIKELY(b) (b)
#endif

// The call that the classes make. The mask is tested in front, so a line that does not pass costs two loads
// and evaluates none of its arguments.
#define ORVEX_TRACE(logger, mask, ...)                                                                       \
    (ORVEX_UNLIKELY((logger)->IsTraceEnabled(mask)) ? static_cast<void>((logger)->Trace(mask, __VA_ARGS__))  \
                                                    : static_cast<void>(0))
