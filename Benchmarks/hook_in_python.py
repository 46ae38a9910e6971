"""What a short Python hook would cost: read the payload, lock, fold it into the record, replace the record."""

import fcntl
import json
import os
import sys
import time

folder = sys.argv[1]
payload = json.load(sys.stdin)
path = os.path.join(folder, "python-" + payload["session_id"] + ".json")
with open(path + ".lock", "w") as lock:
    fcntl.flock(lock, fcntl.LOCK_EX)
    try:
        with open(path) as file:
            record = json.load(file)
    except (OSError, ValueError):
        record = {"sessionID": payload["session_id"]}
    record.update(state="working", tool=payload.get("tool_name"), cwd=payload["cwd"], updatedAt=time.time(),
                  summary=payload["tool_input"].get("command"))
    temporary = path + ".tmp"
    with open(temporary, "w") as file:
        json.dump(record, file, sort_keys=True)
    os.rename(temporary, path)
