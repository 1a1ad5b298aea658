// Handler state of the XML sensor-data reader: messages naming the element
// being read, the parse result, and the records being filled.
#define CK_SOURCE "xmlsdat"
#include <stdio.h>

#include "sensor/xmlsdat_handler.h"

void xml_note_element(_SdatHandler* h, const char* element, const char* name) {
    if (name && name[0])
        snprintf(h->r.line, sizeof h->r.line, "<%s name=\"%s\">", element, name);
    else
        snprintf(h->r.line, sizeof h->r.line, "<%s>", element);
    h->r.lineNo = h->parser ? static_cast<ci_s32>(XML_GetCurrentLineNumber(h->parser)) : 0;
}

ci_error_code xml_report(_SdatHandler* h, ci_error_code code) {
    if (h->parser) h->r.lineNo = static_cast<ci_s32>(XML_GetCurrentLineNumber(h->parser));
    return sdat_syntaxerror(&h->r, code);
}

void xml_fail(_SdatHandler* h, ci_error_code code) {
    if (h->m_retVal == CI_PARSE_SUCCESS) h->m_retVal = code;
}

bool xml_ok(const _SdatHandler* h) { return h->m_retVal == CI_PARSE_SUCCESS; }

ci_reg_data_t* xml_current_reg(_SdatHandler* h) {
    if (!h->inReg || h->reg < 0 || h->reg >= h->r.sensor->num_regs) return nullptr;
    return &h->r.sensor->regs[h->reg];
}

ci_bitfield_t* xml_current_bitfield(_SdatHandler* h) {
    ci_reg_data_t* reg = xml_current_reg(h);
    if (!reg || !h->inBitfield || h->bitfield < 0 || h->bitfield >= reg->num_bitfields) return nullptr;
    return &reg->bitfield[h->bitfield];
}
