// Replaces ICU's internal header: turns an enumeration of the C interface into one of the C++
// interface, which owns it.

#include <unicode/strenum.h>
#include <unicode/uenum.h>
#include <unicode/unistr.h>

U_NAMESPACE_BEGIN

class UStringEnumeration : public StringEnumeration {
  public:
    explicit UStringEnumeration(UEnumeration* names) : mNames(names) {}
    ~UStringEnumeration() override { uenum_close(mNames); }

    int32_t count(UErrorCode& status) const override { return uenum_count(mNames, &status); }
    const UnicodeString* snext(UErrorCode& status) override {
        int32_t length = 0;
        const char16_t* name = uenum_unext(mNames, &length, &status);
        return name != nullptr ? &unistr.setTo(name, length) : nullptr;
    }
    void reset(UErrorCode& status) override { uenum_reset(mNames, &status); }

  private:
    UEnumeration* mNames;
};

U_NAMESPACE_END
