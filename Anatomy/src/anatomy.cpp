// The C interface of dissecting: owns the tree, and turns exhausted memory into null.
#include <mmskit/anatomy.h>

#include <new>

#include "Anatomy/src/converters.h"
#include "Anatomy/src/tree.h"

using mmskit_anatomy::Tree;

extern "C" {

tMMS_Anatomy* fnMMS_Dissect(const uint8_t* data, uint32_t len) {
    if (data == nullptr && len != 0) return nullptr;
    try {
        const mmskit_anatomy::ConvertersOpen converters;
        auto tree = std::make_unique<Tree>(mmskit_anatomy::Bytes(data, len));
        mmskit_anatomy::dissect_input(*tree);
        tree->finish();
        return tree.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void fnMMS_FreeAnatomy(tMMS_Anatomy* anatomy) {
    delete static_cast<Tree*>(anatomy);
}

}  // extern "C"
