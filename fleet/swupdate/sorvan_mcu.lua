-- SPDX-License-Identifier: MIT
-- SWUpdate handler for images of type "sorvan-mcu": installs an update file for the power MCU with sv_ctl.
-- For /usr/share/lua/5.3. A system has one /usr/share/lua/5.3/swupdate_handlers.lua; it loads this one with two lines:
--   require("swupdate")
--   require("sorvan_mcu")

local function quoted(word)
    return "'" .. word:gsub("'", "'\\''") .. "'"
end

-- Runs sv_ctl with its lines in SWUpdate's log. Returns its exit status, or 128 and the number of a signal, and its reason.
-- The functions of the log take a format: a line may have a percent sign.
local function run(words)
    local reason = "sv_ctl:"
    local pipe = io.popen("sv_ctl " .. words .. " 2>&1")
    if not pipe then
        return 127, reason
    end
    for line in pipe:lines() do
        swupdate.info("%s", line)
        reason = line:match("^sv_ctl: .*") or reason
    end
    local _, kind, status = pipe:close()
    return kind == "signal" and 128 + status or status, reason
end

local function install(image)
    local file = os.tmpname()
    local status, reason = 1, "the update file could not be copied"
    if image:copy2file(file) == 0 then -- it compares the checksum, too
        status, reason = run("update --lock-wait 60 -- " .. quoted(file))
    end
    os.remove(file)
    if status == 0 or status == 3 then -- 3: the firmware runs already
        return 0
    end
    swupdate.error("%s (status %d)", reason, status)
    return 1
end

swupdate.register_handler("sorvan-mcu", install, swupdate.HANDLER_MASK.IMAGE_HANDLER)
