/* The system cJSON as an oracle process for the json_edit fuzz target (the
 * two libraries export the same names, so they live in separate programs).
 * Requests on stdin: a 4-byte native length, then that many bytes of text.
 * Replies on stdout: one byte, 0 when the text does not parse, 2 when it
 * parses but does not print; else 1, then the unformatted and the formatted
 * print, each as a 4-byte length and its bytes. Ends at end of input. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cjson/cJSON.h>

static int put_text(const char *s)
{
    uint32_t n = (uint32_t)strlen(s);
    return fwrite(&n, 4, 1, stdout) == 1 && fwrite(s, 1, n, stdout) == n;
}

int main(void)
{
    uint32_t n;
    while (fread(&n, 4, 1, stdin) == 1) {
        char *text = malloc((size_t)n + 1);
        cJSON *tree;
        if (!text || fread(text, 1, n, stdin) != n) {
            fprintf(stderr, "cjson_oracle: short request (%u bytes)\n", n);
            return 1;
        }
        text[n] = '\0';
        tree = cJSON_Parse(text);
        free(text);
        if (!tree) {
            fputc(0, stdout);
        } else {
            char *flat = cJSON_PrintUnformatted(tree), *pretty = cJSON_Print(tree);
            if (!flat || !pretty) {
                fputc(2, stdout);
            } else {
                fputc(1, stdout);
                if (!put_text(flat) || !put_text(pretty)) return 1;
            }
            free(flat);
            free(pretty);
            cJSON_Delete(tree);
        }
        fflush(stdout);
    }
    return 0;
}
