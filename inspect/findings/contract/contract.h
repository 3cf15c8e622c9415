#ifndef INSPECT_FINDINGS_CONTRACT_CONTRACT_H
#define INSPECT_FINDINGS_CONTRACT_CONTRACT_H

#include "inspect/bus/bus_state.h"

#include <istream>
#include <optional>
#include <string>
#include <vector>

// Which interfaces have to be on a bus, and which must not: a JSON file, described in docs/bus_contract.schema.json.

namespace Inspect {

/// Sixteen for each interface that a bus can have.
constexpr std::size_t cMostExpectations = 16'384;

constexpr auto cContractSchema = "zunic-bus-contract/1";

/// What is expected of the registered interfaces of one name, domain and type.
struct Expectation
{
    std::string mName;
    std::optional<std::string> mRole; ///< none: any
    std::string mDomain = "local";
    std::uint32_t mType = Oxa::eInterfaceInstanceTypeSkeleton;
    bool mIsForbidden = false;
    std::optional<Oxa::Version> mLeastVersion;
    std::optional<std::string> mApplication;  ///< a shell pattern
    std::optional<std::uint32_t> mLeastUsers; ///< registered stubs that are connected to it
    std::optional<std::uint32_t> mMostUsers;
};

using Contract = std::vector<Expectation>;

bool isOlder(const Oxa::Version& one, const Oxa::Version& other);

/// Throws NoState, with line and place, when the text is no contract. What it does not know is a mistake: it would not
/// be held to.
Contract readContract(std::istream& in);

} // namespace Inspect

#endif
