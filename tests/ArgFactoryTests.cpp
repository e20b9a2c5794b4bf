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

class SealFactory : public UserArgFactory
{
public:
    explicit SealFactory(bool bMakes = true) : m_bMakes(bMakes) {}
    Arg* NewArg(int classId) override
    {
        ++nAsked;
        nLastId = classId;
        for (SealFactory* p : addsWhenAsked)
            ArgFactory::AddUserFactory(p);
        return m_bMakes && classId == SEAL_ID ? new Seal : nullptr;
    }

    int nAsked = 0;
    int nLastId = 0;
    std::vector<SealFactory*> addsWhenAsked;

private:
    bool m_bMakes;
};

class Registered
{
public:
    explicit Registered(UserArgFactory& rFactory) : m_rFactory(rFactory)
    {
        ArgFactory::AddUserFactory(&rFactory);
    }
    ~Registered() { ArgFactory::RemoveUserFactory(&m_rFactory); }

private:
    UserArgFactory& m_rFactory;
};

TEST(ArgFactoryTest, IdsOfTheLibrary)
{
    const int aRows[][2] = {{1, 1}, {2, 2},  {3, 1}, {4, 0},   {5, 5},     {6, 6},
                            {0, 0}, {-1, 0}, {7, 0}, {257, 0}, {65537, 0}, {SEAL_ID, 0}};
    for (const auto& [classId, made] : aRows) {
        const ArgHolder arg(ArgFactory::NewArg(classId));
        EXPECT_EQ(arg ? arg->GetClassID() : 0, made) << classId;
        EXPECT_EQ(arg ? CountOf(*arg) : 1, 1) << classId;
    }
}

TEST(ArgFactoryTest, UserFactoriesAreAskedInOrderForOtherIdsAlone)
{
    SealFactory idle(false), makes, behind;
    const Registered r1(idle), r2(makes), r3(behind);
    for (int classId : {1, 2, 3, 5, 6})
        ArgHolder(ArgFactory::NewArg(classId));
    EXPECT_EQ(idle.nAsked, 0);
    EXPECT_EQ(ArgHolder(ArgFactory::NewArg(SEAL_ID))->GetClassID(), SEAL_ID);
    EXPECT_EQ(idle.nAsked, 1);
    EXPECT_EQ(idle.nLastId, SEAL_ID);
    EXPECT_EQ(makes.nAsked, 1);
    EXPECT_EQ(behind.nAsked, 0);
    EXPECT_EQ(ArgFactory::NewArg(4), nullptr);
    EXPECT_EQ(behind.nAsked, 1);
    EXPECT_EQ(Seal::s_nLiving, 0);
}

TEST(ArgFactoryTest, ListTakesAFactoryOnce)
{
    SealFactory factory;
    EXPECT_FALSE(ArgFactory::AddUserFactory(nullptr));
    EXPECT_FALSE(ArgFactory::RemoveUserFactory(nullptr));
    EXPECT_FALSE(ArgFactory::RemoveUserFactory(&factory));
    EXPECT_TRUE(ArgFactory::AddUserFactory(&factory));
    EXPECT_FALSE(ArgFactory::AddUserFactory(&factory));
    EXPECT_TRUE(ArgFactory::RemoveUserFactory(&factory));
    EXPECT_FALSE(ArgFactory::RemoveUserFactory(&factory));
    EXPECT_EQ(ArgFactory::NewArg(SEAL_ID), nullptr);
    EXPECT_EQ(factory.nAsked, 0);
}

TEST(ArgFactoryTest, FactoryMayAddOthersWhileItIsAsked)
{
    SealFactory adds(false), makes;
    std::vector<std::unique_ptr<SealFactory>> added;
    for (int i = 0; i < 50; ++i) {
        added.push_back(std::make_unique<SealFactory>(false));
        adds.addsWhenAsked.push_back(added.back().get());
    }
    const Registered r1(adds), r2(makes);
    EXPECT_NE(ArgHolder(ArgFactory::NewArg(SEAL_ID)), nullptr);
    for (const auto& factory : added)
        EXPECT_TRUE(ArgFactory::RemoveUserFactory(factory.get()));
}

TEST(ArgFactoryTest, UserClassTravelsInFramesAndContainers)
{
    SealFactory factory;
    const Registered registered(factory);
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.name);
        const ArgumentsHolder args(Arguments::CreateInstance());
        const ArgHolder seal(new Seal);
        args->AddItem("seal", *seal);
        MemoryStream stream;
        EXPECT_EQ(form.Pack(*args, stream), 1);
        EXPECT_EQ(Hex(stream),
                  Plain(form.bFull ? "0100 0500 7365616c00 4d00 0200 0809" : "0100 0500 7365616c00 4d 0809"));
        const ArgumentsHolder back(Arguments::CreateInstance());
        EXPECT_EQ(form.Unpack(*back, stream), 1);
        const ArgHolder value(back->GetValue("seal"));
        EXPECT_EQ(value->GetClassID(), SEAL_ID);
        EXPECT_EQ(CountOf(*value), 2);
    }
    EXPECT_EQ(Seal::s_nLiving, 0);
}

TEST(ArgFactoryTest, ValueThatFailsToUnpackIsGone)
{
    SealFactory factory;
    const Registered registered(factory);
    for (const Form& form : FORMS) {
        MemoryStream stream = FromHex(form.bFull ? "4d00 0200 0808" : "4d 0808");
        EXPECT_EQ(form.UnpackFrame(stream), nullptr) << form.name;
        EXPECT_EQ(Seal::s_nLiving, 0) << form.name;
        EXPECT_EQ(stream.BytesRemaining(), 0) << form.name;
    }
}

TEST(ArgFactoryThreadTest, FactoriesComeAndGoWhileValuesAreMade)
{
    SealFactory stays;
    const Registered registered(stays);
    RunTogether({[] {
                     for (int i = 0; i < 2000; ++i) {
                         SealFactory guest(false);
                         const Registered here(guest);
                     }
                 },
                 [] {
                     for (int i = 0; i < 2000; ++i)
                         EXPECT_EQ(ArgHolder(ArgFactory::NewArg(SEAL_ID))->GetClassID(), SEAL_ID);
                 },
                 [] {
                     for (int i = 0; i < 2000; ++i)
                         EXPECT_EQ(ArgFactory::NewArg(4), nullptr);
                 }});
    EXPECT_EQ(Seal::s_nLiving, 0);
}

}  // namespace
