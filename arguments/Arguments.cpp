// Arguments: life, storage, keys and positions.
#include "arguments/Arguments.h"

#include "arguments/Found.h"
#include "failures/OrvexException.h"
#include "values/Nesting.h"

#include <utility>
#include <vector>

namespace {

// Containers are destroyed within one another only so deep. Those further in wait until the thread is back
// out, so the stack that a destruction takes does not grow with the nesting.
thread_local int t_nDestroying = 0;
thread_local Arguments* t_pWaiting = nullptr;

}  // namespace

Arguments* Arguments::CreateInstance() { return new Arguments; }

bool Arguments::CreateInstance(Arguments** ppArgs)
{
    if (ppArgs == nullptr)
        return false;
    *ppArgs = CreateInstance();
    return true;
}

// The second reference to the logger is part of its count, as is the first: neither is given back.
Arguments::Arguments() : m_pNextWaiting(nullptr)
{
    m_pLogger = LogWrapper::InstanceForGood();
    SetType(ARG_ARGARRAY);
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Arguments()", this);
}

Arguments::~Arguments()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::~Arguments()", this);
    Clear();
}

long Arguments::Release()
{
    const long n = GiveBack();
    if (n == 0)
        Destroy();
    return n;
}

void Arguments::Destroy()
{
    if (t_nDestroying == NestingLevel::MOST) {
        m_pNextWaiting = t_pWaiting;
        t_pWaiting = this;
        return;
    }
    ++t_nDestroying;
    delete this;
    while (t_nDestroying == 1 && t_pWaiting != nullptr) {
        Arguments* pNext = t_pWaiting;
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): what waits has not been deleted
        t_pWaiting = pNext->m_pNextWaiting;
        delete pNext;
    }
    --t_nDestroying;
}

int Arguments::GetClassID() { return CLASS_ID_ARGUMENTS; }

bool Arguments::GetValueArray(Arguments** ppArgs)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arg(%p, type(%d))::GetValueArray()", this, Type());
    ScopedLock lock(&m_lock);
    if (ppArgs == nullptr)
        return false;
    AddRef();
    *ppArgs = this;
    return true;
}

void Arguments::Clear()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Clear()", this);
    ScopedLock lock(&m_lock);
    for (std::size_t i = 0; i < m_entries.Places().size(); ++i) {
        Arg* pArg = m_entries.Places()[i].pArg;
        try {
            if (pArg != nullptr)
                pArg->Release();
        } catch (...) {
            ORVEX_TRACE(m_pLogger, TRACE_ERROR,
                        "Arguments(%p)::Clear(). Encountered exception releasing Arg 0x%p.", this, pArg);
        }
    }
    m_entries.Clear();
}

void Arguments::Initialize()
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::Initialize()", this);
    ScopedLock lock(&m_lock);
    m_entries.Clear();
}

int Arguments::NumElements()
{
    ScopedLock lock(&m_lock);
    return static_cast<int>(m_entries.Size());
}

bool Arguments::GetElementKey(int iIndex, std::string* pKey)
{
    ScopedLock lock(&m_lock);
    const EntryTable::Entry* pEntry = pKey != nullptr ? EntryAt(iIndex) : nullptr;
    const char* text = pEntry != nullptr ? pEntry->KeyText() : nullptr;
    if (text == nullptr)
        return false;
    *pKey = text;
    return true;
}

std::string Arguments::GetElementKey(int iIndex)
{
    std::string s;
    return GetElementKey(iIndex, &s) ? s : throw OutOfRange("GetElementKey", iIndex);
}

int Arguments::GetElementType(int iIndex)
{
    const Found f(*this, Position{iIndex}, this);
    return f ? f->GetType() : ARG_NOTSET;
}

// The other container is read before this one's lock is taken, so that two containers merged into each other
// at once cannot wait for one another.
bool Arguments::Merge(Arguments& other)
{
    std::vector<std::pair<Key, ArgHolder>> entries;
    std::vector<std::string> texts;  // what the keys stand on
    {
        ScopedLock lock(&other.m_lock);
        entries.reserve(other.m_entries.Size());
        texts.reserve(other.m_entries.Size());
        for (std::size_t i = 1; i <= other.m_entries.Size(); ++i) {
            const EntryTable::Entry& e = other.m_entries.At(i);
            if (!e.IsKeyword())
                texts.emplace_back(e.key);
            e.pArg->AddRef();
            entries.emplace_back(e.IsKeyword() ? Key(e.id) : Key(texts.back()), ArgHolder(e.pArg));
        }
    }
    ScopedLock lock(&m_lock);
    for (const auto& [key, pArg] : entries)
        Store(key, pArg.get());
    return true;
}

bool Arguments::Remove(const Key& key)
{
    ScopedLock lock(&m_lock);
    EntryTable::Entry* pEntry = m_entries.Find(key);
    if (pEntry == nullptr)
        return false;
    const ArgHolder removed(pEntry->pArg);
    m_entries.Remove(pEntry);
    return true;
}

bool Arguments::RemoveItem(enum_Keywords eKey) { return Remove(Key(eKey)); }

bool Arguments::RemoveItem(const char* key)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::RemoveItem( char* \"%s\" )", this,
                key == nullptr ? "(null)" : key);
    return key != nullptr && RemoveItem(std::string(key));
}

bool Arguments::RemoveItem(const std::string& key)
{
    ORVEX_TRACE(m_pLogger, TRACE_ENTRY, "Arguments(%p)::RemoveItem( string \"%s\" )", this, key.c_str());
    return Remove(Key(key));
}

bool Arguments::IsValid(enum_Keywords eKey) { return static_cast<bool>(Found(*this, eKey, this)); }
bool Arguments::IsValid(const char* key) { return static_cast<bool>(Found(*this, key, this)); }
bool Arguments::IsValid(const std::string& key) { return static_cast<bool>(Found(*this, key, this)); }

bool Arguments::IsValid(Arg* pKey)
{
    std::string key;
    return pKey != nullptr && pKey->GetValueString(&key) && IsValid(key);
}

Arg* Arguments::operator[](const char* key)
{
    if (key == nullptr)
        throw COrvexException("Arguments::operator[], requested key is NULL.", 0, 0);
    const Made m(*this, key);
    m->AddRef();
    return m.Get();
}

Arg* Arguments::operator[](const std::string& key)
{
    const Made m(*this, key);
    m->AddRef();
    return m.Get();
}

Arg* Arguments::operator[](enum_Keywords eKey)
{
    const Made m(*this, eKey);
    m->AddRef();
    return m.Get();
}

// The new value's reference is taken before the old one's is given back: they may be the same object.
bool Arguments::Store(const Key& key, Arg* pArg)
{
    if (pArg == nullptr)
        return false;
    pArg->AddRef();
    StoreOwned(key, ArgHolder(pArg));
    return true;
}

void Arguments::StoreOwned(const Key& key, ArgHolder pArg)
{
    ScopedLock lock(&m_lock);
    if (EntryTable::Entry* pEntry = m_entries.Find(key)) {
        pArg.reset(std::exchange(pEntry->pArg, pArg.release()));
    } else {
        m_entries.Add(key, pArg.get());
        static_cast<void>(pArg.release());  // the entry's now
    }
}

bool Arguments::StoreAt(int iIndex, Arg* pArg)
{
    ScopedLock lock(&m_lock);
    EntryTable::Entry* pEntry = EntryAt(iIndex);
    if (pEntry == nullptr || pArg == nullptr)
        return false;
    pArg->AddRef();
    const ArgHolder old(std::exchange(pEntry->pArg, pArg));
    return true;
}

Arg* Arguments::Provide(const Key& key)
{
    if (Arg* pArg = Find(key))
        return pArg;
    ArgHolder made(Arg::Create());
    m_entries.Add(key, made.get());
    return made.release();
}

EntryTable::Entry* Arguments::EntryAt(int iIndex)
{
    if (iIndex < 1 || static_cast<std::size_t>(iIndex) > m_entries.Size())
        return nullptr;
    return &m_entries.At(static_cast<std::size_t>(iIndex));
}

COrvexException Arguments::OutOfRange(const char* operation, int iIndex)
{
    return COrvexException("Arguments::" + std::string(operation) + ", Index " + std::to_string(iIndex) +
                               " out of range.",
                           iIndex, -1);
}

bool Arguments::Found::HandOut(Arg** ppArg) const
{
    if (m_pArg == nullptr)
        return false;
    m_pArg->AddRef();
    *ppArg = m_pArg;
    return true;
}
