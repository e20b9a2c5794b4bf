#include "values/ArgFactory.h"

#include "tests/TestSupport.h"

#include <atomic>

namespace {

constexpr int SEAL_ID = 77;

// A value of a class of the client's own: two bytes, the second of which has to be the first plus one.
class Seal : public Arg
{
public:
    Seal() { ++s_nLiving; }
    ~Seal() override { --s_nLiving; }
    int GetClassID() override { return SEAL_ID; }
    int Pack(Serialize& s) override { return s.WriteUByte(8) < 0 ? -1 : s.WriteUByte(9); }
    int Unpack(Serialize& s) override
    {
        unsigned char a = 0, b = 0;
        return s.ReadUByte(&a) < 0 || s.ReadUByte(&b) < 0 || b != a + 1 ? -1 : 1;
    }
    int Pack2(Serialize& s) override { return Pack(s); }
    int Unpack2(Serialize& s) override { return Unpack(s); }

    static std::atomic<int> s_nLiving;
};
std::atomic<int> Seal::s_nLiving{0};

// On the list for its lifetime.
class SealFactory : public UserArgFactory
{
public:
    explicit SealFactory(bool bMakes) : m_bMakes(bMakes) { EXPECT_TRUE(ArgFactory::AddUserFactory(this)); }
    ~SealFactory() { EXPECT_TRUE(ArgFactory::RemoveUserFactory(this)); }
    Arg* NewArg(int classId) override
    {
        ++nAsked;
        if (whenAsked)
            whenAsked();
        return m_bMakes && classId == SEAL_ID ? new Seal : nullptr;
    }

    int nAsked = 0;
    std::function<void()> whenAsked;

private:
    bool m_bMakes;
};

TEST(ArgFactoryTest, IdsOfTheLibrary)
{
    const int aRows[][2] = {{1, 1}, {2, 2},  {3, 1}, {4, 0},   {5, 5},    {6, 6},
                            {0, 0}, {-1, 0}, {7, 0}, {257, 0}, {65537, 0}};
    for (const auto& [classId, made] : aRows) {
        const ArgHolder arg(ArgFactory::NewArg(classId));
        EXPECT_EQ(arg ? arg->GetClassID() : 0, made) << classId;
        EXPECT_EQ(arg ? CountOf(*arg) : 1, 1) << classId;
    }
}

TEST(ArgFactoryTest, UserFactoriesAreAskedInOrderForOtherIdsAlone)
{
    SealFactory idle(false), makes(true), behind(true);
    EXPECT_FALSE(ArgFactory::AddUserFactory(&makes));
    EXPECT_FALSE(ArgFactory::AddUserFactory(nullptr));
    EXPECT_FALSE(ArgFactory::RemoveUserFactory(nullptr));
    for (int classId : {1, 2, 3, 5, 6, SEAL_ID})
        EXPECT_NE(ArgHolder(ArgFactory::NewArg(classId)), nullptr);
    EXPECT_EQ(ArgFactory::NewArg(4), nullptr);
    EXPECT_EQ(idle.nAsked, 2);
    EXPECT_EQ(makes.nAsked, 2);
    EXPECT_EQ(behind.nAsked, 1);
}

TEST(ArgFactoryTest, FactoryMayAddOthersWhileItIsAsked)
{
    SealFactory adds(false), makes(true);
    std::vector<std::unique_ptr<SealFactory>> added;
    adds.whenAsked = [&] {
        for (int i = 0; i < 50; ++i)
            added.push_back(std::make_unique<SealFactory>(false));
    };
    EXPECT_NE(ArgHolder(ArgFactory::NewArg(SEAL_ID)), nullptr);
}

TEST(ArgFactoryTest, UserClassTravels)
{
    SealFactory factory(true);
    const ArgumentsHolder args(Arguments::CreateInstance());
    const ArgHolder seal(new Seal);
    args->AddItem("seal", *seal);
    ExpectRecord(*seal, "0809", "0809");
    EXPECT_EQ(Packed(FULL, *args), Plain("0100 0500 7365616c00 4d00 0200 0809"));
    EXPECT_EQ(Packed(COMPACT, *args), Plain("0100 0500 7365616c00 4d 0809"));
}

TEST(ArgFactoryTest, ValueThatFailsToUnpackIsGone)
{
    SealFactory factory(true);
    for (const Form& form : FORMS) {
        MemoryStream stream = FromHex(form.bFull ? "4d00 0200 0808" : "4d 0808");
        EXPECT_EQ(form.UnpackFrame(stream), nullptr) << form.name;
        EXPECT_EQ(Seal::s_nLiving, 0) << form.name;
    }
}

TEST(ArgFactoryThreadTest, FactoriesComeAndGoWhileValuesAreMade)
{
    SealFactory stays(true);
    const auto repeat = [](auto piece) {
        return [piece] {
            for (int i = 0; i < 1000; ++i)
                piece();
        };
    };
    RunTogether({repeat([] { SealFactory guest(false); }),
                 repeat([] { EXPECT_NE(ArgHolder(ArgFactory::NewArg(SEAL_ID)), nullptr); }),
                 repeat([] { EXPECT_EQ(ArgFactory::NewArg(4), nullptr); })});
    EXPECT_EQ(Seal::s_nLiving, 0);
}

}  // namespace
