#include "inspect/view/interface_tree.h"

#include "inspect/view/cells.h"

namespace Inspect {

namespace {

const std::vector<Heading> cHeadings{
    {"INTERFACE", ColumnKind::eTree},
    {"ROLE"},
    {"DOMAIN"},
    {"ID", ColumnKind::eNumber},
    {"TYPE", ColumnKind::eWord},
    {"VERSION", ColumnKind::eWord},
    {"STATE", ColumnKind::eWord},
    {"PID", ColumnKind::eNumber},
    {"LIVING", ColumnKind::eWord},
    {"APP"},
};

Cell label(const std::string& text)
{
    return {text, nullptr, Text::eOwn};
}

class Tree
{
public:
    Tree(const BusIndex& index, const TableStyle& style) : mIndex(index), mTable(cHeadings, style) {}

    void add(const Interface& interface)
    {
        const Table::Line root = addInterface(interface, nullptr);
        addFunctions(interface, root);
        addProviders(interface, root);
        addUsers(interface, root);
    }

    std::string text() const { return mTable.text(); }

private:
    Table::Line addInterface(const Interface& interface, Table::Line parent)
    {
        const Communicator* const owner = mIndex.ownerOf(interface);
        return mTable.addBranch({Cell{interface.mName}, Cell{interface.mRole}, Cell{interface.mDomain},
                                 numberCell(interface.mId), Cell{typeWord(interface.mType)},
                                 Cell{versionWord(interface.mVersion)}, stateCell(interface.mState),
                                 processIdCell(owner), livingCell(owner), applicationCell(owner)},
                                parent);
    }

    void addFunctions(const Interface& interface, Table::Line root)
    {
        if (!interface.mFunctions || (interface.mFunctions->empty() && !interface.mFunctionsCut)) {
            return;
        }
        const Table::Line line = mTable.addBranch({label("functions")}, root);
        std::uint64_t position = 0;
        for (const std::string& function : *interface.mFunctions) {
            mTable.addBranch({Cell{function}, {}, {}, numberCell(position++)}, line);
        }
        if (interface.mFunctionsCut) {
            mTable.addBranch({{"and more, cut at the limit", cUneasyColor, Text::eOwn}}, line);
        }
    }

    /// A stub that nobody provides says so.
    void addProviders(const Interface& interface, Table::Line root)
    {
        const auto& holders = mIndex.holdersOf(interface.mId);
        if (holders.empty()) {
            if (interface.mType == Oxa::eInterfaceInstanceTypeStub) {
                mTable.addBranch({label("no providers")}, root);
            }
            return;
        }
        const Table::Line line = mTable.addBranch({label("provided by")}, root);
        for (const Interface* const holder : holders) {
            addInterface(*holder, line);
        }
    }

    void addUsers(const Interface& interface, Table::Line root)
    {
        if (interface.mReceivers.empty()) {
            if (interface.mType == Oxa::eInterfaceInstanceTypeSkeleton) {
                mTable.addBranch({label("no users")}, root);
            }
            return;
        }
        const Table::Line line = mTable.addBranch({label("used by")}, root);
        for (const std::uint16_t id : interface.mReceivers) {
            addUser(id, line);
        }
    }

    void addUser(std::uint16_t id, Table::Line parent)
    {
        const auto users = mIndex.interfacesWithId(id);
        if (users.empty()) {
            mTable.addBranch({{"missing", cBadColor, Text::eOwn}, {}, {}, numberCell(id)}, parent);
        }
        for (const Interface& user : users) {
            addInterface(user, parent);
        }
    }

    const BusIndex& mIndex;
    Table mTable;
};

} // namespace

std::string interfaceTree(const Interface& interface, const BusIndex& index, const TableStyle& style)
{
    Tree tree(index, style);
    tree.add(interface);
    return tree.text();
}

} // namespace Inspect
