# The product profiles a lab can run and how up shares its TVs among them.
import json
import os

from .common import EXIT_USAGE, LabError, bin_dir


def load_profiles():
    folder = os.path.normpath(os.path.join(bin_dir(), "..", "share", "ipcontrol", "profiles"))
    profiles = {}
    try:
        names = sorted(os.listdir(folder))
    except OSError as e:
        raise LabError("cannot read the profiles in %s: %s" % (folder, e.strerror))
    for entry in names:
        if entry.endswith(".json"):
            path = os.path.join(folder, entry)
            try:
                with open(path) as f:
                    year = json.load(f)["featureconf"]["product.tv_year"]
                profiles[entry[:-5]] = 1515 if year <= 19 else 1516
            except (OSError, ValueError) as e:
                raise LabError("the profile %s is unreadable: %s" % (path, e))
            except (KeyError, TypeError):
                raise LabError("the profile %s has no product year (featureconf, "
                               "product.tv_year)" % path)
    return profiles


def share_profiles(count, requests, known):
    """Profile per TV from NAME, NAME:COUNT and NAME:PERCENT% requests: counts and percents
    (rounded down) first, the rest shared evenly among plain names, else among the percents
    (all known profiles share the lab when none is given)."""
    fixed, open_names = [], []
    for request in requests:
        name, _, amount = request.partition(":")
        if name not in known:
            raise LabError("unknown profile %s (%s)" % (name, ", ".join(sorted(known))), EXIT_USAGE)
        if not amount:
            open_names.append(name)
            continue
        try:
            percent = amount.endswith("%")
            number = float(amount[:-1]) if percent else int(amount)
        except ValueError:
            number = -1
        if number < 0 or (percent and number > 100):
            raise LabError("--profile %s: give NAME, NAME:COUNT or NAME:PERCENT%%" % request,
                           EXIT_USAGE)
        fixed.append([name, int(number * count / 100) if percent else number, percent])
    if not requests:
        open_names = sorted(known)
    rest = count - sum(entry[1] for entry in fixed)
    sharers = open_names or [entry for entry in fixed if entry[2]]
    if rest < 0 or (rest > 0 and not sharers):
        raise LabError("the profiles add up to %d TVs, not %d" % (count - rest, count),
                       EXIT_USAGE)
    result = []
    for i, name in enumerate(open_names):
        share = rest // len(open_names) + (1 if i < rest % len(open_names) else 0)
        result += [name] * share
    if not open_names:
        for i in range(rest):  # what rounding down left, one more each
            sharers[i % len(sharers)][1] += 1
    return [name for name, n, _ in fixed for _ in range(n)] + result
