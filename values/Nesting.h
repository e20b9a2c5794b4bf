// How deep the calling thread stands in containers: 100 levels at the most, the outermost being level 1, so
// that hostile data and a container inside itself end instead of overflowing the stack.
#pragma once

class NestingLevel
{
public:
    static constexpr int MOST = 100;

    NestingLevel() { ++t_nLevel; }
    ~NestingLevel()
    {
        if (--t_nLevel == 0)
            t_bExceeded = false;
    }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;

    // True when this level is one too many; every level around it then sees WasExceeded, up to the outermost.
    bool TooDeep()
    {
        if (t_nLevel > MOST)
            t_bExceeded = true;
        return t_nLevel > MOST;
    }
    bool IsOutermost() const { return t_nLevel == 1; }
    static bool WasExceeded() { return t_bExceeded; }

private:
    static thread_local int t_nLevel;
    static thread_local bool t_bExceeded;
};
