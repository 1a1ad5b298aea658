/* A host program in plain C99: it must compile against the public header
 * with -std=c99 -Wall -Werror -pedantic and link against the library. */
#include <stdio.h>
#include <string.h>

#include "camkit.h"

int main(void) {
    char text[CI_STRING_LEN];
    ci_camera_t* cameras[4];
    ci_s32 n = -1;
    ci_error_code rc;

    if (ci_GetImageTypeStr(CI_BAYER_10, text) != CI_CAMERA_SUCCESS || strcmp(text, "Bayer 10") != 0) {
        fprintf(stderr, "image type text: %s\n", text);
        return 1;
    }
    if (strcmp(ci_getErrorSymbol(CI_I2C_NACK_ERROR), "I2C_NACK_ERROR") != 0) {
        fprintf(stderr, "error symbol\n");
        return 1;
    }
    if (ci_Int2Str(CI_TYPE_HEX, 5, 0xFF, text, (ci_s32)sizeof text) != 5 || strcmp(text, "0x05") != 0) {
        fprintf(stderr, "data type text: %s\n", text);
        return 1;
    }
    /* No transport selected: nothing opens and nothing fails. */
    rc = ci_OpenCameras2(cameras, &n, NULL, 0, "");
    if (rc != CI_CAMERA_SUCCESS || n != 0) {
        fprintf(stderr, "open with empty mask: rc=%d n=%d\n", (int)rc, (int)n);
        return 1;
    }
    ci_CloseCameras();
    printf("camkit %s from C99\n", ci_GetVersionString());
    return 0;
}
