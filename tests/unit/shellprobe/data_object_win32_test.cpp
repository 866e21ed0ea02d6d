#include "shellprobe/data_object.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"
// Windows last.
#include <ole2.h>
#include <shellapi.h>

namespace tarnwell::shellprobe {
namespace {

class DataObjectTest : public testing::Test {
protected:
    DataObjectTest() { OleInitialize(nullptr); }
    ~DataObjectTest() override { OleUninitialize(); }

    /// The names that the object hands over, as the shell itself reads them.
    static std::vector<std::wstring> NamesOf(IDataObject* object) {
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        std::vector<std::wstring> names;
        if (FAILED(object->GetData(&format, &medium)))
            return names;
        const auto drop = static_cast<HDROP>(medium.hGlobal);
        const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
        for (UINT i = 0; i < count; ++i) {
            wchar_t name[MAX_PATH] = {};
            DragQueryFileW(drop, i, name, MAX_PATH);
            names.emplace_back(name);
        }
        ReleaseStgMedium(&medium);
        return names;
    }

    test::CTempFolder folder;
};

TEST_F(DataObjectTest, HandsOverTheFilesInTheirOrder) {
    const std::wstring first = folder.Write("b, c.txt", "x").wstring();
    const std::wstring second = folder.Write("a \xc3\xa9.txt", "x").wstring();
    const std::wstring elsewhere = folder.Write("deeper/d.txt", "x").make_preferred().wstring();
    const std::wstring missing = (folder / "missing.p7").wstring();
    for (const std::vector<std::wstring>& files : std::vector<std::vector<std::wstring>>{
             {first}, {first, second}, {elsewhere, first}, {missing}, {first, missing}}) {
        EXPECT_EQ(NamesOf(MakeDataObject(files).Get()), files);
    }
}

TEST_F(DataObjectTest, OffersNoOtherFormat) {
    const auto object = MakeDataObject({(folder / "missing.p7").wstring()});
    STGMEDIUM medium = {};
    FORMATETC text = {CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    EXPECT_EQ(object->GetData(&text, &medium), DV_E_FORMATETC);
    FORMATETC stream = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_ISTREAM};
    EXPECT_EQ(object->GetData(&stream, &medium), DV_E_TYMED);
}

}  // namespace
}  // namespace tarnwell::shellprobe
