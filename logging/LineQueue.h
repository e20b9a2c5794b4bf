// The lines on their way to the trace server, in the order of tracing: at most 10,000 of them or 4 MB.
//
// What comes when it is full is dropped and counted. It then takes no line until half of it has gone out, so
// that a gap is one gap, told by one line in its place, and not a gap behind every second line.
//
// A line has a ticket, by which its owner asks whether it has gone out. The lock of the owner guards it.
#pragma once

#include <cstddef>
#include <deque>
#include <string>

class LineQueue
{
public:
    using Ticket = unsigned long long;  // counts lines from 1; 0: dropped

    Ticket Append(std::string sLine);
    // How many lines were dropped in the gap that has just ended, to be told before the next line is
    // appended; 0 when there is none, or while it goes on.
    unsigned int TakeDropped();

    std::size_t Size() const { return m_Lines.size(); }
    bool IsEmpty() const { return m_Lines.empty(); }
    const std::string& Head() const { return m_Lines.front(); }
    Ticket HeadTicket() const { return m_ullDone + 1; }
    void HeadDone();
    bool IsDone(Ticket ticket) const { return ticket != 0 && ticket <= m_ullDone; }

    // Throws everything away for good. Result: how many lines never went out, those dropped before included.
    unsigned int Clear();

private:
    static constexpr std::size_t MAX_LINES = 10000;
    static constexpr std::size_t MAX_BYTES = 4 * 1024 * 1024;

    std::deque<std::string> m_Lines;
    std::size_t m_nBytes = 0;  // of all texts in it
    Ticket m_ullDone = 0;
    unsigned int m_nDropped = 0;
    bool m_bGap = false;
};
