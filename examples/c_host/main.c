/* A host in plain C: asks for consent, reports features, and prints what a collector should receive. */
#include "ostrel/ostrel.h"
#include "settor2/product_locations_c.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct feature_t {
    const char* name;
    const char* arrives_as; /* null if the library withholds it */
    const char* withheld_because;
} feature_t;

/* The expected result for each name, with the event filter statistic/enabled_stat_events.xml. */
static const feature_t features[] = {
    {"debugger.attach", "category \"debugger.attach\", no label", NULL},
    {"editor.open.file", "category \"editor\", label \"open.file\"", NULL},
    {"editor.refactor.rename", "category \"editor.refactor\", label \"rename\"", NULL},
    {"editor.recent.r\xC3\xA9sum\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC",
     "category \"editor\", label \"recent.r\xC3\xA9sum\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC\"", NULL},
    {"run.build", "category \"run\", label \"build\"", NULL},
    {"run.build.release", NULL,
     "the filter does not list it; run.NAME needs no entry, but here NAME contains a dot"},
    {"debugger.attachments.list", NULL, "debugger.attach in the filter matches whole words only"},
    {"profiler.start", NULL, "the filter does not list it"},
};
enum { feature_count = sizeof features / sizeof features[0] };

static const feature_t too_early = {"run.too_early", NULL, "the user had not answered yet"};

typedef struct host_t {
    statistic_handle_t* handle;
    int was_asked;
    int has_refused;
} host_t;

static const char* reason_to_withhold(const host_t* host, const feature_t* feature) {
    if (host->has_refused && feature != &too_early)
        return "the user has refused";
    return feature->withheld_because;
}

static void report(const host_t* host, const feature_t* feature) {
    ostrel_notify_feature_usage(host->handle, feature->name);
    const int is_withheld = reason_to_withhold(host, feature) != NULL;
    printf("  %s: %s\n", feature->name, is_withheld ? "will be withheld" : "should arrive");
}

/* Asks only if the library says so, because one answer holds for all of the maker's products. */
static void settle_consent(host_t* host, int refuse) {
    host->was_asked = ostrel_should_ask_user_consent(host->handle);
    if (!host->was_asked) {
        puts("The user is not asked: an answer is stored, or an environment variable decides.\n"
             "The results below are for the answer yes.");
        return;
    }
    puts("The user must be asked. Reported before the answer:");
    report(host, &too_early);
    puts(refuse ? "The user refuses." : "The user agrees.");
    ostrel_set_statistic_collection_enabled(host->handle, !refuse);
    host->has_refused = refuse;
}

static void report_all(const host_t* host) {
    puts("Reported:");
    for (int i = 0; i < feature_count; ++i)
        report(host, &features[i]);
}

static void print_withheld(const host_t* host, const feature_t* feature) {
    printf("  %s: %s\n", feature->name, reason_to_withhold(host, feature));
}

static void summarise(const host_t* host) {
    puts("The handle is destroyed: every hit was posted or dropped.");
    puts(host->has_refused ? "Nothing should have arrived." : "Should have arrived, in this order:");
    for (int i = 0; i < feature_count; ++i)
        if (reason_to_withhold(host, &features[i]) == NULL)
            printf("  %s\n", features[i].arrives_as);
    puts("Withheld:");
    if (host->was_asked)
        print_withheld(host, &too_early);
    for (int i = 0; i < feature_count; ++i)
        if (reason_to_withhold(host, &features[i]) != NULL)
            print_withheld(host, &features[i]);
}

/* Returns the folder in argv[0], the path of this program. Null if memory is exhausted. */
static char* own_folder(const char* program) {
    const char* end = program + strlen(program);
    while (end != program && end[-1] != '/' && end[-1] != '\\')
        --end;
    const size_t length = (size_t)(end - program);
    char* const folder = calloc(length + 2, 1);
    if (folder != NULL) {
        memcpy(folder, program, length);
        folder[length] = '.';
    }
    return folder;
}

static void run(const char* folder, int refuse) {
    const settor2_product_locations_t locations = {{2, 7, 312}, "c_host", folder, "", 0};
    settor2_install_product_locations(&locations);
    host_t host = {ostrel_create_statistic("c_host", "2.7.312 & more"), 0, 0};
    settle_consent(&host, refuse);
    report_all(&host);
    ostrel_destroy_statistic(host.handle);
    settor2_install_product_locations(NULL);
    summarise(&host);
}

int main(int count, char** arguments) {
    const int refuse = count == 2 && strcmp(arguments[1], "--refuse") == 0;
    if (count != 1 && !refuse) {
        fputs("Usage: c_host [--refuse]\n\n"
              "Reports features to the collector that OSTREL_COLLECTION_URL names.\n\n"
              "  --refuse  answer no if the user must be asked for consent\n",
              stderr);
        return 2;
    }
    char* const folder = own_folder(arguments[0]);
    if (folder == NULL)
        return 1;
    run(folder, refuse);
    free(folder);
    return 0;
}
