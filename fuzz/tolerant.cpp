// The tolerant side. Oracle of taking apart: every byte belongs to a leaf, every text is UTF-8,
// every index and limit holds. Of mending: what is mended is taken by the exact decoders, its
// slides can be walked, and mending it again changes nothing.
#include "Anatomy/src/mms_fields.h"
#include "fuzz/harness.h"
#include "tests/Anatomy/taken.h"
#include "tests/Anatomy/tree_checks.h"

namespace {

using fuzz::hold;

void run_dissect(fuzz::Bytes input) {
    using namespace mmskit_anatomy;
    const Bytes bytes(input.data(), input.size());
    const Place place{0, 0, static_cast<uint32_t>(input.size())};
    fuzz::tell(uint64_t(looks_like_pdu(bytes)));
    for (const auto dissect : {dissect_pdu, dissect_body}) {
        Tree tree(bytes);
        dissect(tree, place, 0);
        tree.finish();
        const std::string problem =
            anatomy_checks::uncovered(tree, place) + anatomy_checks::unsound(tree);
        hold(problem.empty(), problem.c_str());
        for (const tMMS_Node& node : tree.nodes)
            for (const char* text : {node.pName, node.pValue, node.pFlaw})
                fuzz::tell(text);
    }
}

using Anatomy = testing_support::OwnedAnatomy;
using Mended = testing_support::OwnedMended;

void run_mend(fuzz::Bytes input) {
    const Anatomy anatomy(fnMMS_Dissect(input.data(), static_cast<uint32_t>(input.size())));
    const Mended mended(fnMMS_Mend(anatomy.get()));
    hold(mended != nullptr, "no result");
    if (mended == nullptr || mended->pData == nullptr) return;
    for (uint32_t i = 0; i < mended->iNotes; ++i)
        fuzz::tell(mended->pNotes[i].pText);
    const fuzz::Exact bytes(fuzz::Bytes(mended->pData, mended->iLength));
    fuzz::tell(bytes.data.get(), mended->iLength);
    const Anatomy again(fnMMS_Dissect(bytes.data.get(), mended->iLength));
    const Mended same(fnMMS_MendOnce(again.get()));
    if (same == nullptr) return hold(false, "no result again");
    // A push document out of its push is not always known for one, nor are headers without a type
    // that has a name.
    const bool typed = mended->iLength > 1 &&
                       mended->pData[0] == mmskit_anatomy::code_message_type &&
                       !mmskit_anatomy::message_type_name(mended->pData[1]).empty();
    const bool message =
        (anatomy->iMessage == MMS_MESSAGE_PDU && typed) || anatomy->iMessage == MMS_MESSAGE_BODY;
    hold(!message ||
             (same->pData != nullptr && same->bChanged == 0 && same->iLength == mended->iLength &&
              std::memcmp(same->pData, mended->pData, mended->iLength) == 0),
         "mending again changes something");
    hold(testing_support::is_taken(*anatomy, *mended), "the exact decoders do not take it");
}

constexpr fuzz::Target targets[] = {{"dissect", run_dissect, true}, {"mend", run_mend, true}};

}  // namespace

const std::span<const fuzz::Target> fuzz::tolerant_targets = targets;
