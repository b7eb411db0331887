// libFuzzer target: the saved-scan reader on arbitrary bytes. Whatever comes in, the
// reader must end with a tree or a message, within its memory caps, and a tree it
// accepts must hold together: every folder's size is the sum of its children's.

#include "core/io/NcduImport.h"
#include "core/model/FileNode.h"
#include "core/scan/ScanSupport.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace ringfold;

namespace {

void checkSums(const FileNode* root) {
    std::vector<const FileNode*> stack{root};
    while (!stack.empty()) {
        const FileNode* n = stack.back();
        stack.pop_back();
        if (!n->isDirectory())
            continue;
        std::int64_t allocated = 0;
        for (const FileNode* c = n->firstChild(); c; c = c->nextSibling()) {
            allocated = addBytes(allocated, c->allocatedSize());
            stack.push_back(c);
        }
        if (allocated != n->allocatedSize())
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::FILE* in = ::fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
    if (!in)
        return 0;
    NcduImport r = NcduImport::read(in);
    std::fclose(in);
    if (r.result)
        checkSums(r.result->root.get());
    else if (r.error.empty() || r.errorOffset > size)
        std::abort(); // a refusal must say why, and where within the input
    return 0;
}
