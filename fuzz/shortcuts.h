#ifndef FUZZ_SHORTCUTS_H
#define FUZZ_SHORTCUTS_H

namespace Shortcuts {

/// Whether the tool may be given the attachment of an earlier run again, because nothing has changed that attaching
/// looks at. Otherwise it gets one of its own. Null in the replay, which takes no shortcuts.
__attribute__((weak)) void keepAttachment(bool isAllowed);

} // namespace Shortcuts

#endif
