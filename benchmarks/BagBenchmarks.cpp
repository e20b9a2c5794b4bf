// The container beside the floor. Each benchmark takes a bag: 0 call event, 1 statistics, 2 nested, 3 to 5
// free keys (200, 2000, 20000), and tells the time of one bag and, as "entry", of one of its entries.
//
//   Build            add all entries by name
//   PackFull         write the full form into a stream that is used again
//   PackCompact      the same in the compact form; the floor writes its own encoding into a new string
//   UnpackFull       read the full form into a new bag
//   UnpackCompact    the same in the compact form
//   ReadByName       read every entry by its name, as what it is
//   ReadByKeyword    read every keyword entry by its id; the floor has only names
//   ReadByPosition   ask every entry by position for its type, from the first to the last
//   Clone            a deep copy
//   Dump             one line of text
//   Parse            a line of text into a new bag
//   Merge            share all entries of one bag into an empty one
//   Memory           heap bytes and allocations of one bag; the time means nothing
//   MaskedTrace      one trace line that no mask passes
//   CreateValues     new values on 1, 2 and 4 threads
//
// Run with --with_threads to measure as in a process that has started a thread: the C library then uses
// bus-locked instructions, as every process does whose logger is switched on.
#include "benchmarks/Bags.h"
#include "benchmarks/HeapCount.h"

#include "logging/Logger.h"
#include "tools/MemoryStream.h"

#include <benchmark/benchmark.h>
#include <cstdlib>

namespace {

const Fields& Bag(std::int64_t n)
{
    static const Fields bags[] = {CallEvent(),   Statistics(),   Nested(),
                                  FreeKeys(200), FreeKeys(2000), FreeKeys(20000)};
    return bags[n];
}

void PerEntry(benchmark::State& state)
{
    const auto n = static_cast<double>(Bag(state.range(0)).size());
    state.counters["entry"] =
        benchmark::Counter(n, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Build(benchmark::State& state)
{
    const Fields& fields = Bag(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(ArgumentsHolder(BuildBag(fields)));
    PerEntry(state);
}

void BuildFloor(benchmark::State& state)
{
    const Fields& fields = Bag(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(::BuildFloor(fields));
    PerEntry(state);
}

void Pack(benchmark::State& state, int (Arg::*pack)(Serialize&))
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    MemoryStream stream;
    for (auto _ : state) {
        stream.Clear();
        if ((bag.get()->*pack)(stream) < 0)
            state.SkipWithError("not packed");
        benchmark::DoNotOptimize(stream.Data());
    }
    PerEntry(state);
    state.counters["bytes"] = static_cast<double>(stream.Size());
}

void PackFloor(benchmark::State& state)
{
    const FloorBag bag = ::BuildFloor(Bag(state.range(0)));
    std::size_t n = 0;
    for (auto _ : state) {
        const std::string bytes = ::PackFloor(bag);
        benchmark::DoNotOptimize(bytes.data());
        n = bytes.size();
    }
    PerEntry(state);
    state.counters["bytes"] = static_cast<double>(n);
}

void Unpack(benchmark::State& state, int (Arg::*pack)(Serialize&), int (Arg::*unpack)(Serialize&))
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    MemoryStream stream;
    (bag.get()->*pack)(stream);
    for (auto _ : state) {
        stream.Rewind();
        const ArgumentsHolder copy(Arguments::CreateInstance());
        if ((copy.get()->*unpack)(stream) != bag->NumElements())
            state.SkipWithError("not unpacked");
    }
    PerEntry(state);
}

void UnpackFloor(benchmark::State& state)
{
    const std::string bytes = ::PackFloor(::BuildFloor(Bag(state.range(0))));
    for (auto _ : state) {
        FloorBag copy;
        if (!::UnpackFloor(bytes, &copy))
            state.SkipWithError("not unpacked");
        benchmark::DoNotOptimize(copy);
    }
    PerEntry(state);
}

// Every field is read as what it is; a text is copied out, and so it is from the floor.
struct Sink
{
    int nSum = 0;
    std::string text;
};

// What a client that knows its fields calls.
template <class Key> struct ReadTyped
{
    Arguments& bag;
    const Key& key;
    Sink& sink;

    void operator()(int) const
    {
        int i = 0;
        bag.GetValueInt(key, &i);
        sink.nSum += i;
    }
    void operator()(unsigned int) const
    {
        unsigned int ui = 0;
        bag.GetValueUInt(key, &ui);
        sink.nSum += static_cast<int>(ui);
    }
    void operator()(bool) const
    {
        bool b = false;
        bag.GetValueBool(key, &b);
        sink.nSum += b;
    }
    void operator()(const std::string&) const { bag.GetValueString(key, &sink.text); }
    void operator()(const Fields&) const
    {
        Arguments* pNested = nullptr;
        bag.GetValueArray(key, &pNested);
        sink.nSum += pNested != nullptr;
        pNested->Release();
    }
};

void ReadByName(benchmark::State& state)
{
    const Fields& fields = Bag(state.range(0));
    const ArgumentsHolder bag(BuildBag(fields));
    Sink sink;
    for (auto _ : state)
        for (const Field& field : fields)
            std::visit(ReadTyped<std::string>{*bag, field.name, sink}, field.value);
    benchmark::DoNotOptimize(sink);
    PerEntry(state);
}

void ReadByKeyword(benchmark::State& state)
{
    const Fields& fields = Bag(state.range(0));
    const ArgumentsHolder bag(BuildBag(fields));
    Sink sink;
    for (auto _ : state)
        for (const Field& field : fields)
            std::visit(ReadTyped<int>{*bag, field.id, sink}, field.value);
    benchmark::DoNotOptimize(sink);
    PerEntry(state);
}

void ReadByPosition(benchmark::State& state)
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    int nSum = 0;
    for (auto _ : state)
        for (int i = 1, n = bag->NumElements(); i <= n; ++i)
            nSum += bag->GetElementType(i);
    benchmark::DoNotOptimize(nSum);
    PerEntry(state);
}

struct ReadTypedFloor
{
    const FloorBag& bag;
    const std::string& key;
    Sink& sink;

    template <class T> const T* Find() const
    {
        const auto it = bag.fields.find(key);
        return it != bag.fields.end() ? std::get_if<T>(&it->second) : nullptr;
    }
    template <class T> void operator()(const T&) const
    {
        if (const T* p = Find<T>())
            sink.nSum += static_cast<int>(*p);
    }
    void operator()(const std::string&) const
    {
        if (const std::string* ps = Find<std::string>())
            sink.text = *ps;
    }
    void operator()(const Fields&) const { sink.nSum += Find<std::unique_ptr<FloorBag>>() != nullptr; }
};

void ReadFloor(benchmark::State& state)
{
    const Fields& fields = Bag(state.range(0));
    const FloorBag bag = ::BuildFloor(fields);
    Sink sink;
    for (auto _ : state)
        for (const Field& field : fields)
            std::visit(ReadTypedFloor{bag, field.name, sink}, field.value);
    benchmark::DoNotOptimize(sink);
    PerEntry(state);
}

void WalkFloor(benchmark::State& state)
{
    const FloorBag bag = ::BuildFloor(Bag(state.range(0)));
    int nSum = 0;
    for (auto _ : state)
        for (const auto& [key, value] : bag.fields)
            nSum += static_cast<int>(value.index());
    benchmark::DoNotOptimize(nSum);
    PerEntry(state);
}

void Clone(benchmark::State& state)
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(ArgHolder(bag->Clone()));
    PerEntry(state);
}

void CloneFloor(benchmark::State& state)
{
    const FloorBag bag = ::BuildFloor(Bag(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(::CloneFloor(bag));
    PerEntry(state);
}

void Dump(benchmark::State& state)
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(bag->DumpArgs());
    PerEntry(state);
}

void DumpFloor(benchmark::State& state)
{
    const FloorBag bag = ::BuildFloor(Bag(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(::DumpFloor(bag));
    PerEntry(state);
}

struct TextOf
{
    std::string operator()(int i) const { return std::to_string(i); }
    std::string operator()(unsigned int ui) const { return std::to_string(ui); }
    std::string operator()(bool b) const { return b ? "1" : "0"; }
    std::string operator()(const std::string& s) const { return '"' + s + '"'; }
    std::string operator()(const Fields& fields) const
    {
        std::string s;
        for (const Field& field : fields)
            s += std::visit(*this, field.value) + ',';
        return s;
    }
};

std::string LineOf(const Fields& fields)
{
    std::string line;
    for (const Field& field : fields)
        line += field.name + '=' + std::visit(TextOf(), field.value) + ';';
    return line;
}

void Parse(benchmark::State& state)
{
    const std::string line = LineOf(Bag(state.range(0)));
    for (auto _ : state) {
        const ArgumentsHolder bag(Arguments::CreateInstance());
        if (!bag->SetValue(line))
            state.SkipWithError("not parsed");
    }
    PerEntry(state);
}

// Numbers, and texts in quotes, split by hand.
void ParseFloor(benchmark::State& state)
{
    const std::string line = LineOf(Bag(state.range(0)));
    for (auto _ : state) {
        FloorBag bag;
        for (std::size_t pos = 0; pos < line.size();) {
            const std::size_t equal = line.find('=', pos);
            const std::size_t end = line.find(';', equal);
            FloorBag::Value& value = bag.fields[line.substr(pos, equal - pos)];
            if (line[equal + 1] == '"')
                value = line.substr(equal + 2, end - equal - 3);
            else
                value = atoi(line.c_str() + equal + 1);
            pos = end + 1;
        }
        benchmark::DoNotOptimize(bag);
    }
    PerEntry(state);
}

void Merge(benchmark::State& state)
{
    const ArgumentsHolder bag(BuildBag(Bag(state.range(0))));
    for (auto _ : state) {
        const ArgumentsHolder other(Arguments::CreateInstance());
        other->Merge(*bag);
    }
    PerEntry(state);
}

void MaskedTrace(benchmark::State& state)
{
    LogWrapper* pLogger = LogWrapper::InstanceForGood();
    for (auto _ : state) {
        ORVEX_TRACE(pLogger, TRACE_STEP, "a line of %d and \"%s\" that no mask passes", 1, "text");
        benchmark::ClobberMemory();
    }
}

void CreateValues(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ArgHolder(Arg::Create()));
}

template <class Make> void CountMemory(benchmark::State& state, Make make)
{
    const Fields& fields = Bag(state.range(0));
    benchmark::DoNotOptimize(make(fields));  // what is made once in a process
    HeapCount count;
    const auto bag = make(fields);
    const auto n = static_cast<double>(fields.size());
    state.counters["bytes/entry"] = static_cast<double>(count.Bytes()) / n;
    state.counters["allocs/entry"] = static_cast<double>(count.Allocations()) / n;
    for (auto _ : state)
        benchmark::DoNotOptimize(bag);
}

void Memory(benchmark::State& state)
{
    CountMemory(state, [](const Fields& fields) { return ArgumentsHolder(BuildBag(fields)); });
}

void MemoryFloor(benchmark::State& state)
{
    CountMemory(state, [](const Fields& fields) { return ::BuildFloor(fields); });
}

}  // namespace

BENCHMARK(Build)->DenseRange(0, 5);
BENCHMARK(BuildFloor)->DenseRange(0, 5);
BENCHMARK_CAPTURE(Pack, Compact, &Arg::Pack2)->DenseRange(0, 5);
BENCHMARK_CAPTURE(Pack, Full, &Arg::Pack)->DenseRange(0, 5);
BENCHMARK(PackFloor)->DenseRange(0, 5);
BENCHMARK_CAPTURE(Unpack, Compact, &Arg::Pack2, &Arg::Unpack2)->DenseRange(0, 5);
BENCHMARK_CAPTURE(Unpack, Full, &Arg::Pack, &Arg::Unpack)->DenseRange(0, 5);
BENCHMARK(UnpackFloor)->DenseRange(0, 5);
BENCHMARK(ReadByKeyword)->DenseRange(0, 1);
BENCHMARK(ReadByName)->DenseRange(0, 5);
BENCHMARK(ReadFloor)->DenseRange(0, 5);
BENCHMARK(ReadByPosition)->DenseRange(0, 5);
BENCHMARK(WalkFloor)->DenseRange(0, 5);
BENCHMARK(Clone)->DenseRange(0, 5);
BENCHMARK(CloneFloor)->DenseRange(0, 5);
BENCHMARK(Dump)->DenseRange(0, 5);
BENCHMARK(DumpFloor)->DenseRange(0, 5);
BENCHMARK(Parse)->Arg(0)->Arg(1)->DenseRange(3, 5);
BENCHMARK(ParseFloor)->Arg(0)->Arg(1)->DenseRange(3, 5);
BENCHMARK(Merge)->DenseRange(0, 5);
BENCHMARK(Memory)->DenseRange(0, 5);
BENCHMARK(MemoryFloor)->DenseRange(0, 5);
BENCHMARK(MaskedTrace);
// Last: what runs after a threaded one is measured as in a threaded process.
BENCHMARK(CreateValues)->Threads(1)->Threads(2)->Threads(4);
