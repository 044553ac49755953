/* Replaces the three tools of the maker's software manager. Appends its arguments to calls.txt in its own
   folder, answers the request for the machine id, and deletes the file that it should upload. */
#include <stdio.h>
#include <string.h>

static const char* name_of(const char* program) {
    const char* name = program + strlen(program);
    while (name != program && name[-1] != '/' && name[-1] != '\\')
        --name;
    return name;
}

/* One write for each call, so that the lines of concurrent calls do not mix. */
static int note_call(const char* program, int count, char** arguments) {
    char path[1024];
    char line[4096];
    const char* const name = name_of(program);
    int length = snprintf(path, sizeof path, "%.*scalls.txt", (int)(name - program), program);
    if (length < 0 || (size_t)length >= sizeof path)
        return 1;
    length = snprintf(line, sizeof line, "%s", name);
    for (int i = 0; i < count && length > 0 && (size_t)length < sizeof line; ++i)
        length += snprintf(line + length, sizeof line - (size_t)length, " %s", arguments[i]);
    FILE* const file = fopen(path, "a");
    if (file == NULL)
        return 1;
    fprintf(file, "%s\n", line);
    return fclose(file) != 0;
}

static int answer(const char* path) {
    FILE* const file = fopen(path, "w");
    if (file == NULL)
        return 1;
    fputs("MANAGED-BY-A-STAND-IN\n", file);
    return fclose(file) != 0;
}

int main(int count, char** arguments) {
    if (note_call(arguments[0], count - 1, arguments + 1) != 0)
        return 1;
    const char* const last = arguments[count - 1];
    if (count == 3 && strcmp(arguments[1], "-u") == 0)
        return answer(last);
    if (count > 3 && strcmp(arguments[1], "-t") == 0)
        return remove(last) != 0;
    return 0;
}
