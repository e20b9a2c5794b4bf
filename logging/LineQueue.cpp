#include "logging/LineQueue.h"

LineQueue::Ticket LineQueue::Append(std::string sLine)
{
    if (m_Lines.size() >= MAX_LINES || m_nBytes + sLine.size() > MAX_BYTES)
        m_bGap = true;
    if (m_bGap) {
        ++m_nDropped;
        return 0;
    }
    m_nBytes += sLine.size();
    m_Lines.push_back(std::move(sLine));
    return m_ullDone + m_Lines.size();
}

unsigned int LineQueue::TakeDropped()
{
    if (m_bGap && (m_Lines.size() > MAX_LINES / 2 || m_nBytes > MAX_BYTES / 2))
        return 0;
    m_bGap = false;
    const unsigned int nDropped = m_nDropped;
    m_nDropped = 0;
    return nDropped;
}

void LineQueue::HeadDone()
{
    m_nBytes -= m_Lines.front().size();
    m_Lines.pop_front();
    ++m_ullDone;
}

unsigned int LineQueue::Clear()
{
    const unsigned int nLost = m_nDropped + static_cast<unsigned int>(m_Lines.size());
    m_Lines.clear();
    m_nBytes = 0;
    m_nDropped = 0;
    m_bGap = false;
    return nLost;
}
