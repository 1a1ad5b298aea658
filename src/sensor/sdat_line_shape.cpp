// The counting pass of a registers section asks of every line only whether
// it has the form of a register line or of a bitfield line.  The forms are
// the scan formats of the lenient count:
//   register   "%255[^=]= {%i, %255[^,], %i, %255[^,], %i, %760[^}]"
//              (sdat_version 2 and above: one more "%i, " after the space)
//   bitfield   " {%255[^,], %i, %4[^,], %760[^}]"
// matched here directive by directive without storing anything, and
// stopping as soon as the answer is known: the text conversions need one
// character only, so the description texts are never walked.
#define CK_SOURCE "sensor_data"
#include <ctype.h>

#include "sensor/sdat_register_line.h"

namespace {

// One directive each; false on a mismatch (the end of the line is one).
class Shape {
public:
    explicit Shape(const char* line) : p_(line) {}

    // A blank in a format: any white space.
    Shape& blanks() {
        while (isspace(static_cast<unsigned char>(*p_))) ++p_;
        return *this;
    }
    // A literal character.
    Shape& lit(char c) {
        ok_ = ok_ && *p_ == c;
        if (ok_) ++p_;
        return *this;
    }
    // "%W[^stop]": one to W characters other than stop.
    Shape& run(char stop, int width) {
        if (!ok_) return *this;
        int n = 0;
        while (n < width && p_[n] != '\0' && p_[n] != stop) ++n;
        ok_ = n > 0;
        p_ += n;
        return *this;
    }
    // "%W[^stop]" as the last directive: one character is enough.
    Shape& last_run(char stop) {
        ok_ = ok_ && *p_ != '\0' && *p_ != stop;
        return *this;
    }
    // "%i": blanks, a sign, then a number in the base of its prefix ("0x"
    // hexadecimal, "0" octal, else decimal); "0x" alone counts as a number.
    Shape& number() {
        if (!ok_) return *this;
        blanks();
        if (*p_ == '-' || *p_ == '+') ++p_;
        ok_ = *p_ >= '0' && *p_ <= '9';
        if (!ok_) return *this;
        if (p_[0] == '0' && (p_[1] == 'x' || p_[1] == 'X')) {
            p_ += 2;
            while (isxdigit(static_cast<unsigned char>(*p_))) ++p_;
        } else if (*p_ == '0') {
            while (*p_ >= '0' && *p_ <= '7') ++p_;
        } else {
            while (*p_ >= '0' && *p_ <= '9') ++p_;
        }
        return *this;
    }
    // ", " between items.
    Shape& comma() { return lit(',').blanks(); }
    bool matched() const { return ok_; }

private:
    const char* p_;
    bool ok_ = true;
};

}  // namespace

int sdat_counts_as_register(const char* line, ci_s32 sdatVersion) {
    Shape s(line);
    s.run('=', 255).lit('=').blanks().lit('{').number().comma().run(',', 255).comma().number().comma();
    if (sdatVersion >= 2) s.number().comma();
    s.run(',', 255).comma().number().comma().last_run('}');
    return s.matched();
}

int sdat_is_bitfield_line(const char* line) {
    Shape s(line);
    s.blanks().lit('{').run(',', 255).comma().number().comma().run(',', 4).comma().last_run('}');
    return s.matched();
}
