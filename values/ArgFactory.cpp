#include "values/ArgFactory.h"

#include "arguments/Arguments.h"
#include "logging/Logger.h"
#include "values/ArgArguments.h"
#include "values/RawArg.h"

#include <algorithm>
#include <vector>

namespace {

struct UserFactories
{
    CritSecLock lock;
    std::vector<UserArgFactory*> list;
};

// Made on first use and never destroyed: static objects of clients may use it before and after everything
// here.
UserFactories& Factories()
{
    static UserFactories* p = new UserFactories;
    return *p;
}

Arg* NewUserArg(int classId)
{
    UserFactories& factories = Factories();
    ScopedLock lock(&factories.lock);
    for (std::size_t i = 0; i < factories.list.size(); ++i)  // a factory may add others while it is asked
        if (Arg* pArg = factories.list[i]->NewArg(classId))
            return pArg;
    return nullptr;
}

}  // namespace

Arg* ArgFactory::NewArg(int classId)
{
    Logger logger;
    ORVEX_TRACE(&logger, TRACE_ENTRY, "ArgFactory::NewArg( CLASS ID %d )", classId);
    switch (classId) {
    case CLASS_ID_ARG:
        ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (Arg)", classId);
        return Arg::Create();
    case CLASS_ID_RAWARG:
        ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (RawArg)", classId);
        return RawArg::Create();
    case CLASS_ID_REFARG:
        ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (RefArg)", classId);
        return Arg::Create();
    case CLASS_ID_ARGARGUMENTS:
        ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (ArgArguments)", classId);
        return ArgArguments::Create();
    case CLASS_ID_ARGUMENTS:
        ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (Arguments)", classId);
        return Arguments::CreateInstance();
    default: break;
    }
    ORVEX_TRACE(&logger, TRACE_STEP, "ArgFactory::NewArg, CLASS ID %d (Unknown), checking for User Defined",
                classId);
    Arg* pArg = NewUserArg(classId);
    if (pArg != nullptr)
        ORVEX_TRACE(&logger, TRACE_STEP_FAILED,
                    "ArgFactory::NewArg, CLASS ID %d (UserDefined), is user Defined", classId);
    else
        ORVEX_TRACE(&logger, TRACE_STEP_FAILED,
                    "ArgFactory::NewArg, CLASS ID %d (Unknown), cannot create Arg", classId);
    return pArg;
}

bool ArgFactory::AddUserFactory(UserArgFactory* pFactory)
{
    UserFactories& factories = Factories();
    ScopedLock lock(&factories.lock);
    const auto end = factories.list.end();
    if (pFactory == nullptr || std::find(factories.list.begin(), end, pFactory) != end)
        return false;
    factories.list.push_back(pFactory);
    return true;
}

bool ArgFactory::RemoveUserFactory(UserArgFactory* pFactory)
{
    UserFactories& factories = Factories();
    ScopedLock lock(&factories.lock);
    const auto it = std::find(factories.list.begin(), factories.list.end(), pFactory);
    if (it == factories.list.end())
        return false;
    factories.list.erase(it);
    return true;
}
