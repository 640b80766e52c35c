#include <gtest/gtest.h>

#include <memory>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"
#include "config/XmlDom.h"

namespace krn::test {
namespace {

// The kinds' fixed fields, as the menu, the lists and the file use them.
TEST(ActionKinds, CarryTheirNamesTagsAndFlags)
{
    struct Case {
        std::unique_ptr<Action> kind;
        const wchar_t* displayName;
        const wchar_t* tag;
        bool unique;
        bool editable;
    };
    Case cases[] = {
        {std::make_unique<MsgBoxAction>(), L"Show message", L"MsgBox", true, false},
        {std::make_unique<AddToLogAction>(), L"Add to log", L"AddToLog", true, false},
        {std::make_unique<RunAction>(), L"Run application", L"Run", false, true},
    };
    for (Case& c : cases) {
        Action& kind = *c.kind;
        EXPECT_EQ(kind.displayName, c.displayName);
        EXPECT_EQ(kind.tag, c.tag);
        EXPECT_EQ(kind.unique, c.unique) << kind.tag;
        EXPECT_EQ(kind.editable, c.editable) << kind.tag;
        EXPECT_FALSE(kind.description) << kind.tag;
        EXPECT_FALSE(kind.bitmap) << kind.tag;
        EXPECT_EQ(kind.Reserved1(), E_NOTIMPL) << kind.tag;
        EXPECT_EQ(kind.Reserved2(), E_NOTIMPL) << kind.tag;
    }
}

TEST(ActionKinds, DestroyingAKindDeletesItsBitmap)
{
    HBITMAP bitmap = CreateBitmap(16, 16, 1, 32, nullptr);
    {
        MsgBoxAction kind;
        kind.bitmap.reset(bitmap);
    }
    EXPECT_EQ(GetObjectType(bitmap), 0u);
}

TEST(ParameterlessKinds, HaveNoBlockEverywhere)
{
    MsgBoxAction msgBox;
    AddToLogAction addToLog;
    for (Action* kind : {static_cast<Action*>(&msgBox), static_cast<Action*>(&addToLog)}) {
        void* block = &msgBox;  // any non-null value: the operations must overwrite it
        EXPECT_EQ(kind->CloneParams(&block, nullptr), S_OK);
        EXPECT_EQ(block, nullptr);
        block = &msgBox;
        EXPECT_EQ(kind->LoadParams(nullptr, nullptr, &block), S_OK);
        EXPECT_EQ(block, nullptr);
        ActionSlot slot{&msgBox, kind};
        EXPECT_EQ(kind->EditParams(nullptr, true, slot), S_OK);
        EXPECT_EQ(slot.params, nullptr);
        EXPECT_EQ(kind->CompareParams(nullptr, nullptr), 0);
        EXPECT_EQ(kind->SaveParams(nullptr, nullptr, nullptr, nullptr), S_OK);
        EXPECT_EQ(kind->FillParamsCell(nullptr, nullptr), S_OK);
        kind->FreeParams(nullptr);
    }
}

class RunActionTest : public ::testing::Test {
protected:
    // A block owned through the kind, as a slot owns it.
    using Block = std::unique_ptr<RunParams, void (*)(RunParams*)>;
    static Block Own(void* block) { return Block(static_cast<RunParams*>(block), [](RunParams* p) { RunAction().FreeParams(p); }); }

    // Parses `xml` and returns its root element as a node.
    acl::com_ptr<IXMLDOMNode> Element(const wchar_t* xml)
    {
        EXPECT_EQ(CreateDomDocument(document), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_EQ(document->loadXML(MakeBstr(xml).get(), &loaded), S_OK);
        acl::com_ptr<IXMLDOMElement> root;
        EXPECT_EQ(document->get_documentElement(root.put()), S_OK);
        return acl::com_ptr<IXMLDOMNode>::attach(root.detach());
    }

    RunAction kind;
    acl::com_ptr<IXMLDOMDocument> document;
};

TEST_F(RunActionTest, CompareIsExactAndNullBlocksAlwaysDiffer)
{
    struct Case {
        RunParams left;
        RunParams right;
        int result;
    };
    const Case cases[] = {
        {{L"a.exe", L"-x"}, {L"a.exe", L"-x"}, 0},
        {{L"a.exe", L"-x"}, {L"A.EXE", L"-x"}, 1},
        {{L"a.exe", L"-x"}, {L"a.exe", L"-X"}, 1},
        {{L"", L""}, {std::nullopt, std::nullopt}, 1},
        {{std::nullopt, std::nullopt}, {std::nullopt, std::nullopt}, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(kind.CompareParams(&c.left, &c.right), c.result);
    const RunParams some{L"a", L"b"};
    EXPECT_EQ(kind.CompareParams(nullptr, &some), 1);
    EXPECT_EQ(kind.CompareParams(&some, nullptr), 1);
    EXPECT_EQ(kind.CompareParams(nullptr, nullptr), 1);
}

TEST_F(RunActionTest, CloneIsDeepAndKeepsAbsentTexts)
{
    const RunParams source{L"C:\\x.exe", std::nullopt};
    void* raw = nullptr;
    ASSERT_EQ(kind.CloneParams(&raw, &source), S_OK);
    Block copy = Own(raw);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), &source);
    EXPECT_EQ(copy->path, source.path);
    EXPECT_FALSE(copy->params);
    EXPECT_EQ(kind.CompareParams(copy.get(), &source), 0);
}

TEST_F(RunActionTest, LoadReadsAbsentAttributesAsEmptyTexts)
{
    struct Case {
        const wchar_t* xml;
        const wchar_t* path;
        const wchar_t* params;
    };
    const Case cases[] = {
        {L"<Run/>", L"", L""},
        {L"<Run Path=\"&quot;C:\\a b\\x.exe&quot;\" Params=\"%currentdir%\"/>", L"\"C:\\a b\\x.exe\"", L"%currentdir%"},
        {L"<Run Params=\"-q\"/>", L"", L"-q"},
        {L"<Run Path=\"x\" path=\"y\"/>", L"x", L""},
    };
    for (const Case& c : cases) {
        void* raw = nullptr;
        ASSERT_EQ(kind.LoadParams(document.get(), Element(c.xml).get(), &raw), S_OK) << c.xml;
        Block block = Own(raw);
        ASSERT_TRUE(block->path && block->params) << c.xml;
        EXPECT_EQ(*block->path, c.path);
        EXPECT_EQ(*block->params, c.params);
    }
}

TEST_F(RunActionTest, SaveWritesPathThenParamsWithAbsentAsEmpty)
{
    acl::com_ptr<IXMLDOMNode> node = Element(L"<Actions><Run/></Actions>");
    acl::com_ptr<IXMLDOMNode> runNode;
    ASSERT_EQ(node->get_firstChild(runNode.put()), S_OK);
    acl::com_ptr<IXMLDOMElement> actions, run;
    ASSERT_EQ(QueryElement(node.get(), actions), S_OK);
    ASSERT_EQ(QueryElement(runNode.get(), run), S_OK);
    const RunParams block{L"a <&> \"b\"", std::nullopt};
    ASSERT_EQ(kind.SaveParams(&block, document.get(), actions.get(), run.get()), S_OK);
    acl::unique_bstr xml;
    ASSERT_EQ(run->get_xml(xml.put()), S_OK);
    EXPECT_STREQ(xml.get(), L"<Run Path=\"a &lt;&amp;&gt; &quot;b&quot;\" Params=\"\"/>");
}

TEST_F(RunActionTest, CancelledEditOfANewSlotLeavesNoBlock)
{
    ActionSlot slot{nullptr, &kind};
    EXPECT_EQ(kind.EditParams(nullptr, true, slot), E_FAIL);
    EXPECT_EQ(slot.params, nullptr);
}

TEST_F(RunActionTest, CancelledEditOfAnExistingSlotKeepsItsBlock)
{
    const RunParams original{L"a.exe", L"-x"};
    void* raw = nullptr;
    ASSERT_EQ(kind.CloneParams(&raw, &original), S_OK);
    Block block = Own(raw);
    ActionSlot slot{block.get(), &kind};
    EXPECT_EQ(kind.EditParams(nullptr, false, slot), S_FALSE);
    EXPECT_EQ(slot.params, block.get());
    EXPECT_EQ(kind.CompareParams(block.get(), &original), 0);
}

TEST_F(RunActionTest, FillParamsCellNeedsACell)
{
    const RunParams block{L"x.exe", L""};
    EXPECT_EQ(kind.FillParamsCell(nullptr, &block), E_ABORT);
}

} // namespace
} // namespace krn::test
