// SPDX-License-Identifier: MIT
// What logs show of secrets: passwords and session ids.
#ifndef BASE_SECRET_H
#define BASE_SECRET_H

#include "base/resource.h"

// A secret as a log shows it.
const char *secret(const char *text);

// A text of JSON, be it valid or not, as a log shows it: each of its bytes in its place, those of secrets perhaps
// replaced.
class LoggedJson {
  public:
    // `text` is to outlive this; it may be nullptr.
    explicit LoggedJson(const char *text);

    const char *text() const { return shown_; }

    // The rest of what is shown, from a place in the text on, perhaps cut to what fits a line; nullptr: there is none,
    // or nothing is shown. text() may end earlier then.
    const char *from(const char *place);

  private:
    const char *text_;
    const char *shown_;
    OwnedText copy_;
};

#endif
